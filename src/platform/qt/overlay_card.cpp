#include "platform/qt/overlay_card.h"

#include <QOpenGLFunctions>
#include <QOpenGLTexture>
#include <algorithm>
#include <array>
#include <cstring>

#include "platform/window.h"

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
// Mixing is done here: the card would mix the two pixels of different pairs. Beyond the edges the texture repeats its
// last texels, of which nothing but colour is ever seen. With PLAIN a pixel of the picture is one of the surface;
// there colour alone is mixed. It is a program of its own, since a card may run both sides of a condition.
constexpr char FRAGMENT_SHADER[] = R"(
#ifdef GL_ES
precision highp float;
#endif
uniform sampler2D pairs;
uniform highp vec2 size;   // in pixels
uniform highp vec2 texel;  // 1 / size in texels
varying highp vec2 place;

vec4 pair(float x, float y) { return texture2D(pairs, (vec2(x, y) + 0.5) * texel); }

void main() {
#ifdef PLAIN
    vec2 base = floor(place);  // the middle of a pixel, so that no rounding leads to the next one
    float left = floor(base.x * 0.5);
    bool right = base.x - left * 2.0 > 0.5;
    vec4 a = pair(left, base.y);
    float y = right ? a.b : a.r;
    vec2 c = mix(a.ga, pair(left + 1.0, base.y).ga, right ? 0.5 : 0.0);
#else
    vec2 at = clamp(place - 0.5, vec2(0.0), size - 1.0);
    vec2 base = floor(at);
    vec2 mixed = at - base;
    float left = floor(at.x * 0.5);
    float across = at.x * 0.5 - left;
    vec4 a = mix(pair(left, base.y), pair(left, base.y + 1.0), mixed.y);
    vec4 b = mix(pair(left + 1.0, base.y), pair(left + 1.0, base.y + 1.0), mixed.y);
    float y = across < 0.5 ? mix(a.r, a.b, mixed.x) : mix(a.b, b.r, mixed.x);
    vec2 c = mix(a.ga, b.ga, across);
#endif
    // BT.601: luma 16 .. 235, colour 16 .. 240 around 128.
    y = (y * 255.0 - 16.0) / 219.0;
    c = (c * 255.0 - 128.0) / 224.0;
    gl_FragColor = vec4(y + 1.402 * c.y, y - 0.344136 * c.x - 0.714136 * c.y, y + 1.772 * c.x, 1.0);
}
)";

enum : int { CORNER = 0 };
// Of OpenGL, and of OpenGL ES from 3.0 on.
constexpr GLenum UNPACK_ROW_LENGTH = 0x0CF2;

void message_none(QtMsgType, const QMessageLogContext&, const QString&) {}

/// A context that is current on `aside`.
bool context_make(OVERLAY_CARD* card) {
    QSurfaceFormat format;
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    // The desktop's own composition keeps a picture whole; to wait for the screen would hold up the main thread.
    format.setSwapInterval(0);
    card->context.setFormat(format);
    if (!card->context.create()) return false;
    card->aside.setFormat(card->context.format());
    card->aside.create();
    return card->aside.isValid() && card->context.makeCurrent(&card->aside);
}

std::unique_ptr<QOpenGLShaderProgram> program_make(const char* head) {
    auto program = std::make_unique<QOpenGLShaderProgram>();
    program->bindAttributeLocation("corner", CORNER);
    if (!program->addShaderFromSourceCode(QOpenGLShader::Vertex, VERTEX_SHADER) ||
        !program->addShaderFromSourceCode(QOpenGLShader::Fragment, QByteArray(head) + FRAGMENT_SHADER) ||
        !program->link())
        return nullptr;
    return program;
}

bool programs_make(OVERLAY_CARD* card) {
    if (!QOpenGLShaderProgram::hasOpenGLShaderPrograms(&card->context)) return false;
    card->plain = program_make("#define PLAIN\n");
    card->mixing = program_make("");
    return card->plain && card->mixing;
}

void texture_make(OVERLAY_CARD* card, QOpenGLFunctions* gl) {
    gl->glGenTextures(1, &card->picture);
    gl->glBindTexture(GL_TEXTURE_2D, card->picture);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

bool card_start(OVERLAY_CARD* card) {
    if (!context_make(card)) return false;
    QOpenGLFunctions* gl = card->context.functions();
    gl->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &card->largest_side);
    card->takes_strides = !card->context.isOpenGLES() || card->context.format().majorVersion() >= 3;
    const bool made = programs_make(card);
    if (made) texture_make(card, gl);
    card->context.doneCurrent();
    return made;
}

/// The rows as the card takes them, and the texels from one to the next.
const uint8_t* rows_for_card(OVERLAY_CARD* card, size_t texels, int height, const uint8_t* yuy2, size_t* stride) {
    const size_t row = texels * 4;
    // Of an odd width the last pair's second pixel need not be there.
    if (*stride == row || (*stride > row && *stride % 4 == 0 && card->takes_strides)) return yuy2;
    card->packed.resize(row * size_t(height));
    const size_t given = std::min(row, *stride);
    for (size_t y = 0; y < size_t(height); ++y) std::memcpy(&card->packed[y * row], yuy2 + y * *stride, given);
    *stride = row;
    return card->packed.data();
}

void picture_draw(OVERLAY_CARD* card, QOpenGLFunctions* gl, const QRect& place, const QRect& source) {
    static constexpr std::array<GLfloat, 8> CORNERS = {0, 0, 1, 0, 0, 1, 1, 1};
    QOpenGLShaderProgram* program = place.size() == source.size() ? card->plain.get() : card->mixing.get();
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, card->picture);
    gl->glBindBuffer(GL_ARRAY_BUFFER, 0);
    program->bind();
    program->setUniformValue("pairs", 0);
    program->setUniformValue("size", GLfloat(card->width), GLfloat(card->height));
    const int texels = (card->width + 1) / 2;
    program->setUniformValue("texel", 1.0F / GLfloat(texels), 1.0F / GLfloat(card->height));
    program->setUniformValue("part", GLfloat(source.x()), GLfloat(source.y()), GLfloat(source.width()),
                             GLfloat(source.height()));
    program->enableAttributeArray(CORNER);
    program->setAttributeArray(CORNER, CORNERS.data(), 2);
    gl->glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    program->disableAttributeArray(CORNER);
    program->release();
}

void icons_draw(OVERLAY_CARD* card, const QRect& view, const std::vector<OVERLAY_ICON>& icons) {
    if (icons.empty() || (!card->icons.isCreated() && !card->icons.create())) return;
    card->icons.bind();
    for (const OVERLAY_ICON& icon : icons) {
        QOpenGLTexture texture(icon.image, QOpenGLTexture::DontGenerateMipMaps);
        card->icons.blit(texture.textureId(), QOpenGLTextureBlitter::targetTransform(icon.place, view),
                         QOpenGLTextureBlitter::OriginTopLeft);
    }
    card->icons.release();
}

}  // namespace

OVERLAY_CARD::~OVERLAY_CARD() {
    if (!context.isValid() || !context.makeCurrent(&aside)) return;
    if (picture) context.functions()->glDeleteTextures(1, &picture);
    plain.reset();
    mixing.reset();
    icons.destroy();
    context.doneCurrent();
}

std::unique_ptr<OVERLAY_CARD> card_open() {
    if (!window_system_visible()) return nullptr;
    auto card = std::make_unique<OVERLAY_CARD>();
    const QtMessageHandler outer = qInstallMessageHandler(message_none);
    const bool started = card_start(card.get());
    if (!started) card.reset();
    qInstallMessageHandler(outer);
    return card;
}

bool card_put(OVERLAY_CARD* card, int width, int height, const uint8_t* yuy2, size_t stride) {
    if (width < 1 || height < 1 || std::max((width + 1) / 2, height) > card->largest_side) return false;
    if (!card->context.makeCurrent(&card->aside)) return false;
    QOpenGLFunctions* gl = card->context.functions();
    const int texels = (width + 1) / 2;
    const uint8_t* rows = rows_for_card(card, size_t(texels), height, yuy2, &stride);
    gl->glActiveTexture(GL_TEXTURE0);
    gl->glBindTexture(GL_TEXTURE_2D, card->picture);
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    if (card->takes_strides) gl->glPixelStorei(UNPACK_ROW_LENGTH, int(stride / 4));
    if (width == card->width && height == card->height)
        gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texels, height, GL_RGBA, GL_UNSIGNED_BYTE, rows);
    else
        gl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, texels, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rows);
    if (card->takes_strides) gl->glPixelStorei(UNPACK_ROW_LENGTH, 0);
    const bool taken = gl->glGetError() == GL_NO_ERROR;
    card->width = taken ? width : 0;
    card->height = taken ? height : 0;
    card->context.doneCurrent();
    return taken;
}

bool card_draw(OVERLAY_CARD* card, QSurface* surface, int surface_height, const QRect& place, const QRect& source,
               const std::vector<OVERLAY_ICON>& icons) {
    if (!card->context.makeCurrent(surface)) return false;
    QOpenGLFunctions* gl = card->context.functions();
    gl->glViewport(place.x(), surface_height - place.y() - place.height(), place.width(), place.height());
    gl->glDisable(GL_BLEND);
    gl->glDisable(GL_DEPTH_TEST);
    picture_draw(card, gl, place, source);
    icons_draw(card, place, icons);
    const bool drawn = gl->glGetError() == GL_NO_ERROR;
    card->context.swapBuffers(surface);
    card->context.doneCurrent();
    return drawn;
}
