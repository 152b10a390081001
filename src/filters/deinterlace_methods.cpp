#include "filters/deinterlace_frame.h"
#include "hosts/filter_functions.h"
#include "pipeline/frame_analysis.h"
#include "pipeline/frame_cache.h"
#include "pixels/rect.h"

static uint8_t* image_of(const FILTER_PROC_PARAM* param) { return reinterpret_cast<uint8_t*>(param->image); }
static bool top_first(const FILTER_PROC_PARAM* param) { return param->flags & PROC_F_FIELDS_SWAPPED; }

static const uint8_t* current(const FILTER_PROC_PARAM* param) { return frame_cache_get(param->edit, param->frame, 0); }
static const uint8_t* previous(const FILTER_PROC_PARAM* param) {
    return frame_cache_get(param->edit, param->frame, -1);
}

/// No deinterlacing: the source picture as it is, or, for a frame whose fields are in reverse order, woven from it and
/// the picture before it, the later field of the one with the earlier field of the other.
int deinterlace_none_proc(FILTER*, FILTER_PROC_PARAM* param) {
    const uint8_t* cur = current(param);
    if (param->flags & PROC_F_FRAME_INVERTED)
        deinterlace_weave(image_of(param), cur, previous(param), param->width, param->height, top_first(param));
    else
        frame_copy_rows(image_of(param), cur, nullptr, param->width, param->height, 1);
    return 1;
}

// The two checks of the methods that keep a field.
enum { CHECK_INTERPOLATE, CHECK_ADAPTIVE };

static FIELD_FILL fill_of(const FILTER* filter) {
    if (!filter->check_values[CHECK_INTERPOLATE]) return FIELD_REPEAT;
    return filter->check_values[CHECK_ADAPTIVE] ? FIELD_ADAPTIVE : FIELD_MEAN;
}

/// Keeps the first, third, fifth .. row.
int deinterlace_odd_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    deinterlace_field(image_of(param), current(param), param->width, param->height, 0, fill_of(filter));
    return 1;
}

/// Keeps the second, fourth, sixth .. row.
int deinterlace_even_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    deinterlace_field(image_of(param), current(param), param->width, param->height, 1, fill_of(filter));
    return 1;
}

int deinterlace_double_proc(FILTER*, FILTER_PROC_PARAM* param) {
    deinterlace_double(image_of(param), current(param), param->width, param->height);
    return 1;
}

/// Puts film frames together again: a frame whose fields belong to two film frames takes its earlier one from the
/// picture before. With the check on, what still looks combed is blended.
int deinterlace_24fps_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    const bool inverted = param->flags & PROC_F_FRAME_INVERTED;
    // Before anything is fetched: the analysis reads pictures of its own.
    const bool shifted = (field_parity(param->edit, param->frame) != 0) != inverted;
    const uint8_t* cur = current(param);
    const uint8_t* other = shifted ? previous(param) : cur;
    const auto weave = filter->check_values[0] ? deinterlace_stripes : deinterlace_weave;
    weave(image_of(param), cur, other, param->width, param->height, top_first(param));
    return 1;
}

int deinterlace_auto_proc(FILTER*, FILTER_PROC_PARAM* param) {
    const uint8_t* cur = current(param);
    deinterlace_motion(image_of(param), cur, previous(param), param->width, param->height, top_first(param));
    return 1;
}
