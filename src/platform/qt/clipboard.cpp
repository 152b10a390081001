#include "platform/clipboard.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QMimeData>
#include <cstring>

#include "platform/window.h"

namespace {

constexpr int LARGEST_SIDE = 16384;  // as of the largest pictures of all

size_t row_bytes(int width) { return (size_t(width) * 3 + 3) & ~size_t(3); }

QClipboard* system_clipboard() { return window_system_running() ? QGuiApplication::clipboard() : nullptr; }

}  // namespace

bool clipboard_put_picture(const BITMAPINFOHEADER& header, const uint8_t* rows) {
    QClipboard* clipboard = system_clipboard();
    if (!clipboard || !rows || header.biBitCount != 24 || header.biWidth <= 0 || header.biHeight <= 0) return false;
    const QImage bottom_up(rows, header.biWidth, header.biHeight, qsizetype(row_bytes(header.biWidth)),
                           QImage::Format_BGR888);
    const QImage image = bottom_up.mirrored();  // a copy of its own
    if (image.isNull()) return false;
    clipboard->setImage(image);
    return true;
}

bool clipboard_take_picture(BITMAPINFOHEADER* header, std::vector<uint8_t>* rows) {
    QClipboard* clipboard = system_clipboard();
    const QMimeData* data = clipboard ? clipboard->mimeData() : nullptr;
    if (!data || !data->hasImage()) return false;
    const QImage given = clipboard->image();
    if (given.width() > LARGEST_SIDE || given.height() > LARGEST_SIDE) return false;
    const QImage image = given.convertToFormat(QImage::Format_BGR888);
    if (image.isNull()) return false;
    const size_t stride = row_bytes(image.width()), width = size_t(image.width()) * 3;
    rows->assign(stride * size_t(image.height()), 0);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(rows->data() + size_t(image.height() - 1 - y) * stride, image.constScanLine(y), width);
    *header = {};
    header->biSize = sizeof *header;
    header->biWidth = image.width();
    header->biHeight = image.height();
    header->biPlanes = 1;
    header->biBitCount = 24;
    header->biSizeImage = uint32_t(rows->size());
    return true;
}

bool clipboard_put_text(const std::string& utf8) {
    QClipboard* clipboard = system_clipboard();
    if (clipboard) clipboard->setText(QString::fromStdString(utf8));
    return clipboard != nullptr;
}

bool clipboard_take_text(std::string* utf8) {
    QClipboard* clipboard = system_clipboard();
    const QMimeData* data = clipboard ? clipboard->mimeData() : nullptr;
    if (!data || !data->hasText()) return false;
    *utf8 = clipboard->text().toStdString();
    return true;
}
