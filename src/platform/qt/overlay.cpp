#include "platform/overlay.h"

#include <qdrawutil.h>
#include <QApplication>
#include <QIcon>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLWidget>
#include <QPainter>
#include <QPointer>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/qt/qt_window.h"

namespace {

constexpr char VERTEX_SHADER[] = R"(
attribute highp vec2 corner;
uniform highp vec4 part;
varying highp vec2 place;
void main() {
    place = part.xy + vec2(corner.x, 1.0 - corner.y) * part.zw;
    gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
}
)";

// A texel is a pair of pixels: Y, Cb, Y, Cr. Colour belongs to the pair's left pixel, at even places.
//
//     place     0     1     2     3
//     luma      r     b     r     b
//     colour   g,a         g,a
//
// Mixing is done here: the card would mix the two pixels of different pairs.
constexpr char FRAGMENT_SHADER[] = R"(
#ifdef GL_ES
precision highp float;
#endif
uniform sampler2D pairs;
uniform highp vec2 size;
uniform bool plain;
varying highp vec2 place;

vec4 pair(float x, float y) {
    vec2 count = vec2(floor((size.x + 1.0) * 0.5), size.y);
    return texture2D(pairs, (clamp(vec2(x, y), vec2(0.0), count - 1.0) + 0.5) / count);
}
float luma(float x, float y) {
    x = clamp(x, 0.0, size.x - 1.0);
    float left = floor(x * 0.5);
    vec4 both = pair(left, y);
    return x - left * 2.0 < 0.5 ? both.r : both.b;
}
void main() {
    vec2 at = clamp(place - 0.5, vec2(0.0), size - 1.0);
    vec2 base = floor(at);
    vec2 mixed = at - base;
    float left = floor(at.x * 0.5);
    float across = at.x * 0.5 - left;
    vec4 here = pair(left, base.y);
    vec2 c = mix(here.ga, pair(left + 1.0, base.y).ga, across);
    float y = across < 0.5 ? here.r : here.b;
    if (!plain) {  // pixel for pixel there is nothing else to mix
        y = mix(mix(y, luma(base.x + 1.0, base.y), mixed.x),
                mix(luma(base.x, base.y + 1.0), luma(base.x + 1.0, base.y + 1.0), mixed.x), mixed.y);
        c = mix(c, mix(pair(left, base.y + 1.0).ga, pair(left + 1.0, base.y + 1.0).ga, across), mixed.y);
    }
    // BT.601: luma 16 .. 235, colour 16 .. 240 around 128.
    y = (y * 255.0 - 16.0) / 219.0;
    c = (c * 255.0 - 128.0) / 224.0;
    gl_FragColor = vec4(y + 1.402 * c.y, y - 0.344136 * c.x - 0.714136 * c.y, y + 1.772 * c.x, 1.0);
}
)";

enum : int { CORNER = 0 };

/// The widget over the picture's place. Everything of the card's is made and used in paintGL, where its context is.
struct PICTURE_WIDGET : QOpenGLWidget {
    int width_of = 0, height_of = 0;  // of the picture, in pixels
    std::vector<uint8_t> pairs;       // its rows without gaps
    bool fresh = false;               // not yet on the card
    bool lost = false;
    RECT dest{}, source{};
    struct MARK {
        QRect rect;
        QIcon icon;
    };
    std::vector<MARK> marks;
    std::unique_ptr<QOpenGLShaderProgram> program;
    GLuint texture = 0;

    explicit PICTURE_WIDGET(QWidget* parent) : QOpenGLWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }
    ~PICTURE_WIDGET() override { card_forget(); }

  protected:
    void initializeGL() override {
        // The context goes before the widget when the window moves to another screen.
        connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { card_forget(); });
        context()->functions()->initializeOpenGLFunctions();
        program = std::make_unique<QOpenGLShaderProgram>();
        program->bindAttributeLocation("corner", CORNER);
        lost = !program->addShaderFromSourceCode(QOpenGLShader::Vertex, VERTEX_SHADER) ||
               !program->addShaderFromSourceCode(QOpenGLShader::Fragment, FRAGMENT_SHADER) || !program->link();
        fresh = !pairs.empty();
    }

    void paintGL() override {
        QOpenGLFunctions* gl = context()->functions();
        gl->glClearColor(0, 0, 0, 1);
        gl->glClear(GL_COLOR_BUFFER_BIT);
        if (lost || pairs.empty()) return;
        upload(gl);
        picture_draw(gl);
        marks_draw();
        if (gl->glGetError() != GL_NO_ERROR) lost = true;
    }

  private:
    void card_forget() {
        if (!context()) return;
        makeCurrent();
        if (texture) context()->functions()->glDeleteTextures(1, &texture);
        texture = 0;
        program.reset();
        doneCurrent();
        disconnect(context(), nullptr, this, nullptr);
    }

    void upload(QOpenGLFunctions* gl) {
        if (!texture) {
            gl->glGenTextures(1, &texture);
            fresh = true;
        }
        gl->glActiveTexture(GL_TEXTURE0);
        gl->glBindTexture(GL_TEXTURE_2D, texture);
        if (!std::exchange(fresh, false)) return;
        gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        gl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, (width_of + 1) / 2, height_of, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                         pairs.data());
    }

    void picture_draw(QOpenGLFunctions* gl) {
        static constexpr std::array<GLfloat, 8> CORNERS = {0, 0, 1, 0, 0, 1, 1, 1};
        gl->glDisable(GL_BLEND);
        gl->glDisable(GL_DEPTH_TEST);
        gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
        program->bind();
        program->setUniformValue("pairs", 0);
        program->setUniformValue("size", GLfloat(width_of), GLfloat(height_of));
        program->setUniformValue("plain", dest.width == source.width && dest.height == source.height);
        program->setUniformValue("part", GLfloat(source.left), GLfloat(source.top), GLfloat(source.width),
                                 GLfloat(source.height));
        program->enableAttributeArray(CORNER);
        program->setAttributeArray(CORNER, CORNERS.data(), 2);
        gl->glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        program->disableAttributeArray(CORNER);
        program->release();
        gl->glBindTexture(GL_TEXTURE_2D, 0);
    }

    void marks_draw() {
        if (marks.empty()) return;
        QPainter painter(this);
        painter.translate(-dest.left, -dest.top);
        for (const MARK& mark : marks) {
            const QBrush face = palette().button();
            qDrawWinPanel(&painter, mark.rect, palette(), true, &face);
            mark.icon.paint(&painter, mark.rect.adjusted(2, 2, -2, -2));
        }
    }
};

/// Whether a context can be made, and what the largest side of its textures is; 0 without one.
int card_largest_side() {
    if (!window_system_running() || QGuiApplication::platformName() == "offscreen") return 0;
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!surface.isValid() || !context.create() || !context.makeCurrent(&surface)) return 0;
    GLint side = 0;
    if (QOpenGLShaderProgram::hasOpenGLShaderPrograms(&context))
        context.functions()->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
    context.doneCurrent();
    return side;
}

}  // namespace

struct OVERLAY_SURFACE {
    QPointer<PICTURE_WIDGET> widget;  // null once the window has gone
    int largest = 0;
    bool placed = false;
};

/// The first surface of a window makes its native window anew; those that stay above it must learn of the new one.
static void owned_windows_renew(const QWidget* frame) {
    if (!frame->windowHandle()) return;
    for (const QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->parentWidget() != frame || !widget->windowHandle()) continue;
        widget->windowHandle()->setTransientParent(nullptr);
        widget->windowHandle()->setTransientParent(frame->windowHandle());
    }
}

OVERLAY_SURFACE* overlay_surface_open(WINDOW* window) {
    const int largest = card_largest_side();
    if (largest == 0 || !window_exists(window)) return nullptr;
    auto surface = std::make_unique<OVERLAY_SURFACE>();
    surface->widget = new PICTURE_WIDGET(window->widget);
    surface->widget->hide();
    surface->largest = largest;
    return surface.release();
}

void overlay_surface_close(OVERLAY_SURFACE* surface) {
    if (!surface) return;
    delete surface->widget.data();
    delete surface;
}

bool overlay_surface_put(OVERLAY_SURFACE* surface, int width, int height, const uint8_t* yuy2, size_t stride) {
    if (!surface || !surface->widget || surface->widget->lost) return false;
    if (width < 1 || height < 1 || std::max((width + 1) / 2, height) > surface->largest) return false;
    PICTURE_WIDGET& widget = *surface->widget;
    const size_t row = (size_t(width) + 1) / 2 * 4;
    widget.pairs.resize(row * size_t(height));
    // Of an odd width the last pair's second pixel need not be there.
    const size_t given = std::min(row, stride);
    for (size_t y = 0; y < size_t(height); ++y) std::memcpy(&widget.pairs[y * row], yuy2 + y * stride, given);
    widget.width_of = width;
    widget.height_of = height;
    widget.fresh = true;
    widget.update();
    return true;
}

bool overlay_surface_place(OVERLAY_SURFACE* surface, const RECT& dest, const RECT& source) {
    if (!surface || !surface->widget || surface->widget->lost) return false;
    PICTURE_WIDGET& widget = *surface->widget;
    widget.dest = dest;
    widget.source = source;
    widget.setGeometry(qt_rect(dest));
    widget.setVisible(dest.width > 0 && dest.height > 0);
    if (!std::exchange(surface->placed, true)) owned_windows_renew(widget.window());
    widget.lower();  // below the window's controls
    widget.update();
    return true;
}

void overlay_surface_hide(OVERLAY_SURFACE* surface) {
    if (surface && surface->widget) surface->widget->hide();
}

void overlay_surface_marks(OVERLAY_SURFACE* surface, std::span<const OVERLAY_MARK> marks) {
    if (!surface || !surface->widget) return;
    surface->widget->marks.clear();
    for (const OVERLAY_MARK& mark : marks)
        surface->widget->marks.push_back({qt_rect(mark.rect), program_icon(mark.icon)});
    surface->widget->update();
}

std::vector<uint8_t> overlay_surface_read(OVERLAY_SURFACE* surface, int* width, int* height) {
    *width = *height = 0;
    if (!surface || !surface->widget || surface->widget->lost) return {};
    const RECT& dest = surface->widget->dest;
    QImage shown = surface->widget->grabFramebuffer().convertToFormat(QImage::Format_RGB32);
    if (shown.isNull() || dest.width < 1 || dest.height < 1) return {};
    if (shown.size() != QSize(dest.width, dest.height))
        shown = shown.scaled(dest.width, dest.height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    std::vector<uint8_t> pixels;
    for (int y = 0; y < dest.height; ++y)
        pixels.insert(pixels.end(), shown.constScanLine(y), shown.constScanLine(y) + size_t(dest.width) * 4);
    *width = dest.width;
    *height = dest.height;
    return pixels;
}
