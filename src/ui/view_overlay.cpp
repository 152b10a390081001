#include "ui/view_overlay.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "pixels/frame_buffer.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/view.h"

/// One window's share.
struct OVERLAY_SHARE {
    WINDOW* owner;  // null: free
    OVERLAY_SURFACE* surface;
    int width, height;  // of the picture; 0: none is shown
};
struct OVERLAY {
    OVERLAY_SHARE share[2];
    uint32_t four_cc;
};
static OVERLAY overlay;

static OVERLAY_SHARE* share_of(const WINDOW* window) {
    for (OVERLAY_SHARE& share : overlay.share)
        if (window && share.owner == window) return &share;
    return nullptr;
}

static void drop(OVERLAY_SHARE* share) {
    if (share->surface) overlay_surface_close(share->surface);
    *share = {};
}

bool overlay_open(WINDOW* window, uint32_t four_cc, OVERLAY_OWNER owner) {
    OVERLAY_SHARE* share = &overlay.share[owner];
    if (share->owner) return share->owner == window;
    OVERLAY_SURFACE* surface = overlay_surface_open(window);
    if (!surface) return false;
    *share = {window, surface, 0, 0};
    overlay.four_cc = four_cc;
    return true;
}

void overlay_close(WINDOW* window) {
    if (OVERLAY_SHARE* share = share_of(window)) drop(share);
}

bool overlay_show_frame(WINDOW* window, const RECT& dest, const RECT& source, const BITMAPINFOHEADER& header,
                        const uint8_t* pixels) {
    OVERLAY_SHARE* share = share_of(window);
    if (!share) return false;
    const int width = header.biWidth, height = std::abs(header.biHeight);
    if (!overlay_surface_put(share->surface, width, height, pixels, size_t(yuy2_stride(width)))) {
        drop(share);
        return false;
    }
    share->width = width;
    share->height = height;
    return overlay_move(window, dest, source);
}

bool overlay_move(WINDOW* window, const RECT& dest, const RECT& source) {
    OVERLAY_SHARE* share = share_of(window);
    if (!share) return false;
    if (share->width == 0 || overlay_surface_place(share->surface, dest, source)) return true;
    drop(share);
    return false;
}

void overlay_hide(WINDOW* window) {
    OVERLAY_SHARE* share = share_of(window);
    if (!share) return;
    overlay_surface_hide(share->surface);
    share->width = share->height = 0;
}

void overlay_marks(WINDOW* window, std::span<const OVERLAY_MARK> marks) {
    if (OVERLAY_SHARE* share = share_of(window)) overlay_surface_marks(share->surface, marks);
}

std::string overlay_info() {
    const auto* shown = std::find_if(std::begin(overlay.share), std::end(overlay.share),
                                     [](const OVERLAY_SHARE& share) { return share.width > 0; });
    if (shown == std::end(overlay.share)) return language_string(STR_INFO_NOT_IN_USE);
    char text[200];
    const uint32_t code = overlay.four_cc;
    std::snprintf(text, sizeof text, language_string(STR_INFO_SURFACE), code & 0xFF, code >> 8 & 0xFF,
                  code >> 16 & 0xFF, code >> 24, shown->width, shown->height);
    return text;
}

// ---- the main window's use of it

void view_overlay_turn(VIEW_RECORD* view, bool on) {
    constexpr uint32_t YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');
    WINDOW* window = view_window(view);
    if (on)
        on = overlay_open(window, YUY2, OVERLAY_MAIN);
    else
        overlay_close(window);
    view_set_flag(view, VIEW_OVERLAY, on);
    view->display_code = on ? YUY2 : 0;
    view_mark_menu(view);
}
