#include "platform/overlay.h"

#include <qdrawutil.h>
#include <QCoreApplication>
#include <QIcon>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QWindow>
#include <utility>

#include "platform/qt/overlay_card.h"
#include "platform/qt/qt_window.h"

namespace {

/// A window of the desktop's own inside the frame, on which the card draws. So the rest of the frame, which the
/// processor draws, never passes through the card. All input goes to what lies beneath.
struct PICTURE_WINDOW : QWindow {
    OVERLAY_SURFACE* owner;
    PICTURE_WINDOW(OVERLAY_SURFACE* shown, const QSurfaceFormat& format, QWindow* frame)
        : QWindow(frame), owner(shown) {
        setSurfaceType(QSurface::OpenGLSurface);
        setFormat(format);
        setFlags(Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus);
    }

  protected:
    void exposeEvent(QExposeEvent*) override;
};

struct MARK {
    RECT rect;
    QIcon icon;
};

QImage mark_image(const MARK& mark, const QPalette& palette, qreal ratio) {
    const QRect box(0, 0, mark.rect.width, mark.rect.height);
    QImage image((QSizeF(box.size()) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(palette.color(QPalette::Window));
    QPainter painter(&image);
    qDrawShadePanel(&painter, box, palette, true);
    mark.icon.paint(&painter, box);
    return image;
}

}  // namespace

/// Watches the canvas and all around it up to the frame: the picture's window stands in the frame's, follows the canvas
/// and is made anew when the frame's native window is.
struct OVERLAY_SURFACE : QObject {
    WINDOW* around;
    QPointer<QWidget> canvas;
    std::unique_ptr<OVERLAY_CARD> card;
    QPointer<PICTURE_WINDOW> window;  // null while nothing can be seen of the picture
    bool window_new = false;          // nothing has been drawn on it
    bool placed = false;
    RECT dest{}, source{};
    QRect seen;  // of dest
    std::vector<MARK> marks;
    bool asked = false;  // to be settled and drawn
    bool lost = false;

    OVERLAY_SURFACE(WINDOW* shown, std::unique_ptr<OVERLAY_CARD> opened)
        : around(shown), canvas(shown->widget), card(std::move(opened)) {
        for (QWidget* widget = canvas; widget; widget = widget == around->frame ? nullptr : widget->parentWidget())
            widget->installEventFilter(this);
        connect(canvas, &QObject::destroyed, this, [this] { let_go(); });
    }
    ~OVERLAY_SURFACE() override { let_go(); }

    /// Soon, once for several calls.
    void ask() {
        if (!std::exchange(asked, true))
            QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest), Qt::HighEventPriority);
    }
    void draw();
    void window_end() {
        PICTURE_WINDOW* ended = window;
        window.clear();
        delete ended;
    }

    bool event(QEvent* event) override {
        if (event->type() != QEvent::UpdateRequest) return QObject::event(event);
        if (!std::exchange(asked, false) || !window_exists(around) || !canvas) return true;
        settle();
        draw();
        return true;
    }
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::WinIdChange: window_end(); [[fallthrough]];
            case QEvent::Show:
            case QEvent::Move:
            case QEvent::Resize: ask(); break;
            default: break;
        }
        return false;
    }

  private:
    void let_go() {
        window_end();
        card.reset();
    }

    /// Brings the window to where the picture is.
    void settle() {
        seen = placed && card->width > 0 && canvas->isVisible() ? qt_rect(dest) & canvas->rect() : QRect();
        QWindow* frame = canvas->window()->windowHandle();
        if (window && (seen.isEmpty() || window->parent() != frame)) window_end();
        if (seen.isEmpty() || !frame || !frame->handle()) return;
        const bool made = !window;
        if (made) window = new PICTURE_WINDOW(this, card->context.format(), frame);
        window->setGeometry(seen.translated(canvas->mapTo(canvas->window(), QPoint(0, 0))));
        if (!made) return;
        window_new = true;
        window->show();
    }
};

void PICTURE_WINDOW::exposeEvent(QExposeEvent*) { owner->draw(); }

void OVERLAY_SURFACE::draw() {
    if (!window || !window->isExposed() || lost) return;
    const qreal ratio = window->devicePixelRatio();
    const QSize all = (QSizeF(window->size()) * ratio).toSize();
    QRect place({}, all);
    if (seen.size() != qt_rect(dest).size())
        place = {qRound((dest.left - seen.x()) * ratio), qRound((dest.top - seen.y()) * ratio),
                 qRound(dest.width * ratio), qRound(dest.height * ratio)};
    std::vector<OVERLAY_ICON> icons;
    for (const MARK& mark : marks) {
        const QRectF box((mark.rect.left - seen.x()) * ratio, (mark.rect.top - seen.y()) * ratio,
                         mark.rect.width * ratio, mark.rect.height * ratio);
        icons.push_back({mark_image(mark, canvas->palette(), ratio), box.toAlignedRect()});
    }
    lost = !card_draw(card.get(), window, all.height(), place, qt_rect(source), icons);
    if (lost) canvas->update();  // which tells the caller
    if (std::exchange(window_new, false)) frame_renew(canvas->window());
}

static OVERLAY_SURFACE* usable(OVERLAY_SURFACE* surface) {
    return surface && window_exists(surface->around) && surface->card && !surface->lost ? surface : nullptr;
}

OVERLAY_SURFACE* overlay_surface_open(WINDOW* window) {
    if (!window_exists(window)) return nullptr;
    std::unique_ptr<OVERLAY_CARD> card = card_open();
    return card ? new OVERLAY_SURFACE(window, std::move(card)) : nullptr;
}

void overlay_surface_close(OVERLAY_SURFACE* surface) { delete surface; }

bool overlay_surface_put(OVERLAY_SURFACE* surface, int width, int height, const uint8_t* yuy2, size_t stride) {
    if (!usable(surface) || !card_put(surface->card.get(), width, height, yuy2, stride)) return false;
    surface->ask();
    return true;
}

bool overlay_surface_place(OVERLAY_SURFACE* surface, const RECT& dest, const RECT& source) {
    if (!usable(surface)) return false;
    surface->dest = dest;
    surface->source = source;
    surface->placed = true;
    surface->ask();
    return true;
}

void overlay_surface_hide(OVERLAY_SURFACE* surface) {
    if (!surface) return;
    surface->placed = false;
    surface->window_end();
}

void overlay_surface_marks(OVERLAY_SURFACE* surface, std::span<const OVERLAY_MARK> marks) {
    if (!usable(surface)) return;
    surface->marks.clear();
    for (const OVERLAY_MARK& mark : marks) surface->marks.push_back({mark.rect, program_icon(mark.icon)});
    surface->ask();
}

std::vector<uint8_t> overlay_surface_read(OVERLAY_SURFACE* surface, int* width, int* height) {
    *width = *height = 0;
    if (!usable(surface) || !surface->window || !surface->window->isExposed()) return {};
    const QImage shown = surface->window->screen()->grabWindow(surface->window->winId()).toImage();
    const RECT& dest = surface->dest;
    if (shown.isNull() || dest.width < 1 || dest.height < 1) return {};
    QImage whole(dest.width, dest.height, QImage::Format_RGB32);
    whole.fill(Qt::black);
    QPainter painter(&whole);
    painter.drawImage(surface->seen.translated(-dest.left, -dest.top), shown);
    painter.end();
    *width = dest.width;
    *height = dest.height;
    return {whole.constBits(), whole.constBits() + whole.sizeInBytes()};
}
