#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <algorithm>

#include "pixels/screen_row.h"
#include "platform/qt/qt_window.h"
#include "platform/window_draw.h"

namespace {

/// Rows of the last picture, in the form that the screen takes; kept, so that a running picture allocates nothing.
std::vector<uint32_t> screen_rows;

/// A part of a picture in rows of the screen's form, its top row first.
void rows_to_screen(uchar* to, qsizetype to_stride, const BITMAPINFOHEADER& header, const uint8_t* pixels,
                    const QRect& part) {
    const size_t stride = (size_t(header.biWidth) * 3 + 3) & ~size_t(3);
    for (int y = 0; y < part.height(); ++y) {
        const auto row = size_t(header.biHeight - 1 - part.y() - y);  // bottom up
        rgb_row_to_screen(reinterpret_cast<uint32_t*>(to + y * to_stride), pixels + row * stride + size_t(part.x()) * 3,
                          part.width());
    }
}

/// Valid until the next call.
QImage part_to_screen(const BITMAPINFOHEADER& header, const uint8_t* pixels, const QRect& part) {
    const auto width = size_t(part.width()), height = size_t(part.height());
    if (screen_rows.size() < width * height) screen_rows.resize(width * height);
    auto* rows = reinterpret_cast<uchar*>(screen_rows.data());
    const qsizetype stride = qsizetype{part.width()} * qsizetype{sizeof(uint32_t)};
    rows_to_screen(rows, stride, header, pixels, part);
    return {rows, part.width(), part.height(), stride, QImage::Format_RGB32};
}

/// The image that is painted on, and where a place of the painter's lies in it. Null when they differ by more than
/// that, or when anything of the rectangle there is not to be painted.
QImage* image_behind(const QPainter* painter, QRect* place) {
    const QTransform& to_device = painter->deviceTransform();
    const QPaintEngine* engine = painter->paintEngine();
    QPaintDevice* device = engine ? engine->paintDevice() : nullptr;
    if (!device || device->devType() != QInternal::Image || to_device.type() > QTransform::TxTranslate) return nullptr;
    auto* image = static_cast<QImage*>(device);
    if (image->format() != QImage::Format_RGB32 && image->format() != QImage::Format_ARGB32_Premultiplied)
        return nullptr;
    *place = to_device.mapRect(*place);
    const QRegion clip = engine->systemClip();
    if (!image->rect().contains(*place) || painter->hasClipping()) return nullptr;
    return QRegion(*place).subtracted(clip).isEmpty() ? image : nullptr;
}

/// Draws at the device's whole pixels, where fills end as well: at a scale such as 4/3 pictures side by side would
/// leave gaps.
void draw_image(QPainter* painter, const QRectF& dest, const QImage& image, bool smooth) {
    const QTransform to_device = painter->deviceTransform();
    const QRectF exact = to_device.mapRect(dest);
    const QRectF whole(QPointF(qRound(exact.left()), qRound(exact.top())),
                       QPointF(qRound(exact.right()), qRound(exact.bottom())));
    painter->setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    painter->drawImage(to_device.inverted().mapRect(whole), image, QRectF(image.rect()));
}

/// Pixel for pixel, straight into what the window shows where that can be, else in strips that stay in the processor's
/// cache between the two copies.
void draw_unscaled(QPainter* painter, QPoint at, const BITMAPINFOHEADER& header, const uint8_t* pixels,
                   const QRect& part) {
    QRect place(at, part.size());
    if (QImage* image = image_behind(painter, &place)) {
        uchar* first = image->bits() + place.y() * image->bytesPerLine() + qsizetype(place.x()) * 4;
        rows_to_screen(first, image->bytesPerLine(), header, pixels, part);
        return;
    }
    constexpr int STRIP_ROWS = 16;
    for (int y = 0; y < part.height(); y += STRIP_ROWS) {
        const QRect strip(part.x(), part.y() + y, part.width(), std::min(STRIP_ROWS, part.height() - y));
        draw_image(painter, QRect(at + QPoint(0, y), strip.size()), part_to_screen(header, pixels, strip), false);
    }
}

/// Where a part of `source` lies when the whole of it lies at `dest`.
QRectF part_place(const RECT& dest, const RECT& source, const QRect& part) {
    const double across = double(dest.width) / source.width, down = double(dest.height) / source.height;
    return {dest.left + (part.x() - source.left) * across, dest.top + (part.y() - source.top) * down,
            part.width() * across, part.height() * down};
}

}  // namespace

void draw_picture(WINDOW* window, const RECT& dest, const BITMAPINFOHEADER& header, const uint8_t* pixels,
                  const RECT& source, bool smooth) {
    QPainter* painter = window_painter(window);
    const QRect part = qt_rect(source) & QRect(0, 0, header.biWidth, header.biHeight);
    if (!painter || !pixels || header.biBitCount != 24 || header.biHeight <= 0) return;
    if (part.isEmpty() || dest.width <= 0 || dest.height <= 0) return;
    const bool scaled = dest.width != source.width || dest.height != source.height;
    if (!scaled) {
        draw_unscaled(painter, qt_rect(dest).topLeft() + part.topLeft() - qt_rect(source).topLeft(), header, pixels,
                      part);
        return;
    }
    draw_image(painter, part_place(dest, source, part), part_to_screen(header, pixels, part), smooth);
}

void picture_clear() { std::vector<uint32_t>().swap(screen_rows); }
