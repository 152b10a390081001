#pragma once

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QOpenGLTextureBlitter>
#include <QRectF>
#include <cstdint>
#include <memory>
#include <vector>

/// The graphics card's share of an overlay: it keeps one picture as YUY2 and draws it converted and scaled. Main
/// thread. Nothing of it is tied to the surface on which it draws, so that may go and come.
struct OVERLAY_CARD {
    QOffscreenSurface aside;  // what is current where nothing is drawn
    QOpenGLContext context;
    std::unique_ptr<QOpenGLShaderProgram> plain, mixing;
    QOpenGLTextureBlitter icons;  // made with the first one
    unsigned picture = 0;         // the texture, a texel for two pixels
    int width = 0, height = 0;    // of the picture, in pixels
    int largest_side = 0;         // of textures
    bool takes_strides = false;   // rows need not be packed
    std::vector<uint8_t> packed;

    OVERLAY_CARD() = default;
    OVERLAY_CARD(const OVERLAY_CARD&) = delete;
    OVERLAY_CARD& operator=(const OVERLAY_CARD&) = delete;
    ~OVERLAY_CARD();
};

/// An icon of the picture's, in pixels of what it is drawn on.
struct OVERLAY_ICON {
    QImage image;
    QRectF place;
};

/// Null without an OpenGL that can do it, and then without a word of Qt's.
std::unique_ptr<OVERLAY_CARD> card_open();
/// Takes a picture as overlay_surface_put does. False: it cannot.
bool card_put(OVERLAY_CARD* card, int width, int height, const uint8_t* yuy2, size_t stride);
/// Draws and shows the picture's part `source` over `place`, which may reach beyond the surface. place: in pixels of
/// the surface, whose height is given. False: the card is lost.
bool card_draw(OVERLAY_CARD* card, QSurface* surface, int surface_height, const QRect& place, const QRect& source,
               const std::vector<OVERLAY_ICON>& icons);
