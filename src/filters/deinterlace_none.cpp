#include "hosts/filter_functions.h"
#include "pipeline/frame_cache.h"
#include "pixels/rect.h"

/// No deinterlacing: the source picture as it is, or, for a frame whose fields are in reverse order, woven from it and
/// the picture before it, the later field of the one with the earlier field of the other.
int deinterlace_none_proc(FILTER*, FILTER_PROC_PARAM* param) {
    auto* image = reinterpret_cast<uint8_t*>(param->image);
    const uint8_t* current = frame_cache_get(param->edit, param->frame, 0);
    if (!(param->flags & PROC_F_FRAME_INVERTED)) {
        frame_copy_rows(image, current, nullptr, param->width, param->height, 1);
        return 1;
    }
    const uint8_t* previous = frame_cache_get(param->edit, param->frame, -1);
    const bool top_first = param->flags & PROC_F_FIELDS_SWAPPED;
    frame_copy_rows(image, top_first ? current : previous, top_first ? previous : current, param->width, param->height,
                    1);
    return 1;
}
