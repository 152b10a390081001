#include "pipeline/frame_renderer.h"

#include <algorithm>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/image_clip.h"
#include "core/media.h"
#include "core/profile.h"
#include "hosts/color.h"
#include "hosts/filter.h"
#include "hosts/filter_cache.h"
#include "pipeline/frame_cache.h"
#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "pixels/rect.h"
#include "platform/handle.h"
#include "resources/string_ids.h"

static uint8_t* image_of(const FILTER_PROC_PARAM* param) { return reinterpret_cast<uint8_t*>(param->image); }

void render_param_fill(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param, uint8_t* image, uint8_t* scratch) {
    param->image = reinterpret_cast<YC48_PIXEL*>(image);
    param->scratch = reinterpret_cast<YC48_PIXEL*>(scratch);
    param->frame = frame;
    param->frame_count = edit->frame_n;
    param->width = param->source_width = edit->width;
    param->height = param->source_height = edit->height;
    param->buffer_width = frame_geometry.allocated_width;
    param->buffer_height = frame_geometry.max_height;
    param->edit = edit;
    param->pixel_size = frame_geometry.pixel_size;
    param->line_size = frame_geometry.stride;
}

// ---- source and interlace mode

// Which deinterlace method a frame takes; methods are counted in list order: none, odd, even, double, 24 fps,
// automatic.
static int deinterlace_method(int inter, FILTER_PROC_PARAM* param) {
    const FILTER* chosen = filter_built_in(STR_FILTER_DEINTERLACE);
    const int selected = chosen ? filter_selected(chosen) : 0;
    switch (inter) {
        case INTER_REVERSE:
            param->flags |= PROC_F_FRAME_INVERTED;
            return selected == 1 ? 2 : selected == 2 ? 1 : selected;
        case INTER_ODD: return 1;
        case INTER_EVEN: return 2;
        case INTER_DOUBLE: return 3;
        case INTER_AUTO: return 5;
        default: return selected;
    }
}

static const IMAGE_CLIP* clip_of(const EDIT_STATE* edit, int frame) {
    const uint8_t index = frame_table.frame_clip[frame];
    return index ? static_cast<const IMAGE_CLIP*>(handle_get(edit->clip[index])) : nullptr;
}

static void decode_clip(const EDIT_STATE* edit, const IMAGE_CLIP* clip, uint8_t* image) {
    const size_t size = size_t(dib24_stride(edit->width)) * size_t(edit->height);
    std::memcpy(display_buffer(), image_clip_pixels(clip), std::min(size, display_buffer_size()));
    rgb24_to_frame(image, display_buffer(), edit->width, edit->height);
}

uint8_t* render_source(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param) {
    frame = frame_clamp(edit, frame);
    if (!param->image) render_param_fill(edit, frame, param, shared_buffer(0), shared_buffer(1));
    if (!param->image || !param->scratch) return nullptr;
    const int method = deinterlace_method(frame_table.frame_inter[frame], param);
    if (const IMAGE_CLIP* clip = clip_of(edit, frame))
        decode_clip(edit, clip, image_of(param));
    else
        filter_run_deinterlace(param, frame_profile_name(edit, frame), method);
    return image_of(param);
}

// ---- chain

uint8_t* render_filtered(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param, FILTER* stop) {
    if (!(edit->edit_flag & EDIT_OPEN)) return nullptr;
    frame = frame_clamp(edit, frame);
    if (!param->image) {
        uint8_t* image = stop ? filter_cache_frame(stop, 0) : shared_buffer(0);
        uint8_t* scratch = stop ? filter_cache_frame(stop, 1) : shared_buffer(1);
        if (!image || !scratch) return nullptr;
        render_param_fill(edit, frame, param, image, scratch);
    }
    const char* profile = frame_profile_name(edit, frame);
    // A temporal filter fetches its own input, so the walk begins at it and no source is read here.
    FILTER* start = filter_chain_restart_point(param, profile, stop);
    if (!start) render_source(edit, frame, param);
    filter_chain_run(param, profile, start, stop);
    return image_of(param);
}

static void render_without_chain(EDIT_STATE* edit, int frame, uint8_t* image) {
    profile_make_current(frame_profile_name(edit, frame));
    if (const IMAGE_CLIP* clip = clip_of(edit, frame)) {
        decode_clip(edit, clip, image);
        return;
    }
    frame_copy_rows(image, frame_cache_get(edit, frame, 0), nullptr, edit->width, edit->height, 1);
}

static void take_shown(EDIT_STATE* edit, const FILTER_PROC_PARAM& param) {
    edit->shown_image = pipeline_buffer_id(image_of(&param));
    edit->out_width = edit->shown_header.biWidth = param.width;
    edit->out_height = edit->shown_header.biHeight = param.height;
    edit->shown_pixels = edit->shown_wave = 0;
    edit->shown_wave_n = 0;
}

int render_current(EDIT_STATE* edit) {
    if (!(edit->edit_flag & EDIT_OPEN)) return 0;
    FILTER_PROC_PARAM param{};
    const int frame = frame_clamp(edit, edit->frame);
    render_param_fill(edit, frame, &param, work_buffer(0), work_buffer(1));
    const bool saving = edit->edit_flag & EDIT_SAVING;
    if ((edit->view.view_flag & VIEW_FILTER_ON_SAVE) && !saving)
        render_without_chain(edit, frame, image_of(&param));
    else
        render_filtered(edit, frame, &param, nullptr);
    take_shown(edit, param);
    if (!saving) {
        param.display_pixels = param.scratch;
        filter_run_display(&param, frame_profile_name(edit, frame));
    }
    return 1;
}

int render_output_size(EDIT_STATE* edit, int* width, int* height) {
    if (edit->view.view_flag & VIEW_FILTER_ON_SAVE) {
        FILTER_PROC_PARAM param{};
        render_param_fill(edit, frame_clamp(edit, edit->frame), &param, work_buffer(0), work_buffer(1));
        render_filtered(edit, edit->frame, &param, nullptr);
        *width = param.width;
        *height = param.height;
        return render_current(edit);
    }
    if (!edit->shown_image && !render_current(edit)) return 0;
    *width = edit->out_width;
    *height = edit->out_height;
    return 1;
}

// ---- output formats

uint8_t* display_convert(EDIT_STATE* edit, uint32_t code) {
    const uint8_t* image = static_cast<const uint8_t*>(handle_get(edit->shown_image));
    if (!image) return static_cast<uint8_t*>(handle_get(edit->shown_pixels));
    code = media_code_normal(code);
    BITMAPINFOHEADER& header = edit->shown_header;
    header.biCompression = code;
    header.biBitCount = uint16_t(color_bits(code));
    header.biSizeImage =
        uint32_t(std::max(media_picture_size(header.biBitCount, edit->out_width, edit->out_height), 0));
    edit->shown_pixels = pipeline_buffer_id(display_buffer());
    color_from_frame(display_buffer(), image, edit->out_width, edit->out_height, code);
    return display_buffer();
}

uint8_t* render_unfiltered(EDIT_STATE* edit, int frame, uint32_t code) {
    const uint8_t* image = frame_cache_get(edit, frame, 0);
    color_from_frame(display_buffer(), image, edit->width, edit->height, media_code_normal(code));
    return display_buffer();
}
