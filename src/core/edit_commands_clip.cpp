#include "core/edit_commands_clip.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/edit_commands_list.h"
#include "core/edit_commands_undo.h"
#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/image_clip.h"
#include "core/memory.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/color.h"
#include "pipeline/frame_cache.h"
#include "pipeline/frame_renderer.h"
#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"

// ---- one frame's picture, inside the program

static struct {
    uint32_t frame_video;
    uint8_t frame_clip;
} clipboard = {UINT32_MAX, 0};

// A reference of the upper half, as a negative number, stands for nothing.
bool frame_clipboard_filled() { return int32_t(clipboard.frame_video) >= 0; }
void frame_clipboard_clear() { clipboard = {UINT32_MAX, 0}; }

void command_copy_entry(EDIT_STATE* edit, int) {
    clipboard = {frame_table.frame_video[edit->frame], frame_table.frame_clip[edit->frame]};
}

// The source may have been closed since, when no frame of the edit used it any more.
static bool clipboard_usable(const EDIT_STATE* edit) {
    const int source = frame_ref_source(clipboard.frame_video);
    return frame_clipboard_filled() && source < SOURCE_MAX && edit->source[source].path[0];
}

static void paste(EDIT_STATE* edit, FRAME_RANGE range) {
    if (range.n == 0 || !clipboard_usable(edit)) return;
    undo_save(edit, range.first, range.n, 0);
    std::fill_n(frame_table.frame_video + range.first, range.n, clipboard.frame_video);
    std::fill_n(frame_table.frame_clip + range.first, range.n, clipboard.frame_clip);
    command_pictures_changed();
}

void command_paste_frame(EDIT_STATE* edit, int) { paste(edit, {edit->frame, 1}); }
void command_paste_selection(EDIT_STATE* edit, int) { paste(edit, command_selection(edit)); }

// ---- the system's clipboard

int clip_put_picture(const uint8_t* rows, int width, int height) {
    if (!rows || width < 1 || height < 1) return 0;
    const auto stride = size_t(dib24_stride(width)), used = size_t(width) * 3;
    CLIPBOARD_PICTURE picture{};
    picture.rows.resize(stride * size_t(height));
    for (size_t y = 0; y < size_t(height); ++y)  // without the padding, which may hold anything
        std::memcpy(picture.rows.data() + y * stride, rows + y * stride, used);
    BITMAPINFOHEADER& header = picture.header;
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = uint32_t(picture.rows.size());
    return ui_hooks.clipboard_put_picture && ui_hooks.clipboard_put_picture(picture);
}

static bool picture_fits(const EDIT_STATE* edit, const CLIPBOARD_PICTURE& picture) {
    const BITMAPINFOHEADER& header = picture.header;
    return header.biBitCount == 24 && header.biCompression == 0 && header.biWidth == edit->width &&
           header.biHeight == edit->height &&
           picture.rows.size() >= size_t(dib24_stride(edit->width)) * size_t(edit->height);
}

static uint32_t new_clip(const EDIT_STATE* edit, const CLIPBOARD_PICTURE& picture) {
    const size_t size = size_t(dib24_stride(edit->width)) * size_t(edit->height);
    auto* clip = static_cast<IMAGE_CLIP*>(heap_alloc(sizeof(IMAGE_CLIP) + size));
    if (!clip) return 0;
    clip->header = picture.header;
    clip->header.biSize = sizeof clip->header;
    std::memcpy(clip + 1, picture.rows.data(), size);
    const uint32_t id = handle_new(clip);
    if (!id) heap_free(clip);
    return id;
}

int clip_take_picture(EDIT_STATE* edit) {
    if (!(edit->edit_flag & EDIT_OPEN)) return 1;
    const auto* place = std::find(edit->clip + 1, std::end(edit->clip), 0u);
    if (place == std::end(edit->clip)) return 0;
    CLIPBOARD_PICTURE picture{};
    if (!ui_hooks.clipboard_take_picture || !ui_hooks.clipboard_take_picture(&picture)) return 1;
    if (!picture_fits(edit, picture)) return 1;
    const auto index = size_t(place - edit->clip);
    edit->clip[index] = new_clip(edit, picture);
    if (!edit->clip[index]) return 1;
    frame_table.frame_clip[frame_clamp(edit, edit->frame)] = uint8_t(index);
    command_pictures_changed();
    return 1;
}

void command_paste_picture(EDIT_STATE* edit, int) { clip_take_picture(edit); }

void command_copy_source(EDIT_STATE* edit, int) {
    FILTER_PROC_PARAM param{};
    const uint8_t* image = render_source(edit, edit->frame, &param);
    if (!image) return;
    color_from_frame(display_buffer(), image, edit->width, edit->height, 0);
    edit->shown_pixels = 0;  // they stood in the display buffer
    clip_put_picture(display_buffer(), edit->width, edit->height);
}

void command_copy_output(EDIT_STATE* edit, int) {
    if (!edit->shown_image && !render_current(edit)) return;
    clip_put_picture(display_convert(edit, 0), edit->out_width, edit->out_height);
}

void command_copy_number(EDIT_STATE* edit, int) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", edit->frame + system_settings.startframe);
    if (ui_hooks.clipboard_put_text) ui_hooks.clipboard_put_text(text);
}
