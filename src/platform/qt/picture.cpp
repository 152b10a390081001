#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/qt/qt_window.h"
#include "platform/window_draw.h"

namespace {

/// Rows of the last picture, in the form that the screen takes; kept, so that a running picture allocates nothing.
std::vector<uint32_t> screen_rows;

/// One row of 24 bits to 32. Reads no byte behind the last pixel.
void row_to_screen(uint32_t* to, const uint8_t* from, int width) {
    constexpr uint32_t OPAQUE = 0xFF000000;
    for (int x = 0; x + 1 < width; ++x) {
        uint32_t pixel;
        std::memcpy(&pixel, from + size_t(x) * 3, sizeof pixel);  // with a byte of the next one
        to[x] = pixel | OPAQUE;
    }
    const uint8_t* last = from + size_t(width - 1) * 3;
    to[width - 1] = uint32_t(last[0]) | uint32_t(last[1]) << 8 | uint32_t(last[2]) << 16 | OPAQUE;
}

/// A part of a picture, its top row first. Valid until the next call.
QImage part_to_screen(const BITMAPINFOHEADER& header, const uint8_t* pixels, const QRect& part) {
    const size_t stride = (size_t(header.biWidth) * 3 + 3) & ~size_t(3);
    const auto width = size_t(part.width()), height = size_t(part.height());
    if (screen_rows.size() < width * height) screen_rows.resize(width * height);
    for (size_t y = 0; y < height; ++y) {
        const auto row = size_t(header.biHeight - 1 - part.y()) - y;  // bottom up
        row_to_screen(screen_rows.data() + y * width, pixels + row * stride + size_t(part.x()) * 3, part.width());
    }
    return {reinterpret_cast<const uchar*>(screen_rows.data()), part.width(), part.height(),
            qsizetype(width * sizeof(uint32_t)), QImage::Format_RGB32};
}

/// Pixel for pixel, in strips that stay in the processor's cache between the two copies.
void draw_strips(QPainter* painter, QPoint at, const BITMAPINFOHEADER& header, const uint8_t* pixels,
                 const QRect& part) {
    constexpr int STRIP_ROWS = 16;
    for (int y = 0; y < part.height(); y += STRIP_ROWS) {
        const QRect strip(part.x(), part.y() + y, part.width(), std::min(STRIP_ROWS, part.height() - y));
        painter->drawImage(at + QPoint(0, y), part_to_screen(header, pixels, strip));
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
        draw_strips(painter, qt_rect(dest).topLeft() + part.topLeft() - qt_rect(source).topLeft(), header, pixels,
                    part);
        return;
    }
    const QImage image = part_to_screen(header, pixels, part);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    painter->drawImage(part_place(dest, source, part), image, QRectF(image.rect()));
}

void picture_clear() { std::vector<uint32_t>().swap(screen_rows); }
