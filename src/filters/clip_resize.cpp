#include "filters/clip_resize.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "filters/geometry.h"
#include "filters/resample.h"
#include "hosts/filter_functions.h"
#include "hosts/filter_size_list.h"
#include "pixels/rect.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

// ---- settings

CLIP_TARGET clip_target_get(const FILTER* filter) {
    CLIP_TARGET target;
    std::memcpy(&target, filter->extra_data, sizeof target);
    return target;
}

void clip_target_set(FILTER* filter, const CLIP_TARGET& target) {
    std::memcpy(filter->extra_data, &target, sizeof target);
}

static int32_t parse_part(const char** text, int largest) {
    char* end;
    const long number = std::strtol(*text, &end, 10);  // stops at the limits of a long
    *text = end;
    return number < GEOMETRY_SIZE_MIN ? 0 : int32_t(std::min<long>(number, largest));
}

void clip_target_parse(const char* text, CLIP_TARGET* target) {
    target->width = parse_part(&text, frame_geometry.max_width);
    text = text_next(text);
    target->height = parse_part(&text, frame_geometry.max_height);
}

static bool has_size(const CLIP_TARGET& target) { return target.width != 0 && target.height != 0; }

void clip_target_label(const CLIP_TARGET& target, char* text, size_t size) {
    if (has_size(target))
        std::snprintf(text, size, "%dx%d", target.width, target.height);
    else
        std::snprintf(text, size, "%s", language_string(STR_NONE));
}

const char* clip_target_entry(int index) {
    if (index == 0) return language_string(STR_NONE);
    const auto sizes = size_list();
    return index > 0 && size_t(index) <= sizes.size() ? sizes[size_t(index) - 1].label : nullptr;
}

// ---- the picture

enum { TRACK_TOP, TRACK_BOTTOM, TRACK_LEFT, TRACK_RIGHT };

struct CLIP_RECT {
    int x, y, w, h;
};

/// Cuts two sides of one direction so that 32 pixels stay, or all of a picture that has fewer: the second side gives
/// way to the first.
static void limit_sides(int size, int* first, int* second) {
    const int most = std::max(size - GEOMETRY_SIZE_MIN, 0);
    *first = std::clamp(*first, 0, most);
    *second = std::clamp(*second, 0, most - *first);
}

/// What the tracks leave of a w x h picture.
static CLIP_RECT tracks_rect(const FILTER* filter, int w, int h) {
    int top = filter->track_values[TRACK_TOP], bottom = filter->track_values[TRACK_BOTTOM];
    int left = filter->track_values[TRACK_LEFT], right = filter->track_values[TRACK_RIGHT];
    limit_sides(w, &left, &right);
    limit_sides(h, &top, &bottom);
    left = geometry_even(left);
    right = geometry_even(right);
    return {left, top, w - left - right, h - top - bottom};
}

/// Takes columns at the right, or rows at the bottom, until the rectangle has the shape w : h. A very flat or steep
/// shape leaves one pixel.
static void take_shape(CLIP_RECT* rect, int64_t w, int64_t h) {
    rect->w = int(std::clamp<int64_t>((h / 2 + rect->h * w) / h, 1, rect->w));
    rect->h = int(std::clamp<int64_t>((w / 2 + rect->w * h) / w, 1, rect->h));
    rect->w = std::max(geometry_even(rect->w), 1);
}

int clip_resize_proc(FILTER* filter, FILTER_PROC_PARAM* param) {
    if (!geometry_possible(param)) return 0;
    const CLIP_TARGET target = clip_target_get(filter);
    int w = param->width, h = param->height;
    if (has_size(target)) {
        w = std::clamp(target.width, GEOMETRY_SIZE_MIN, frame_geometry.max_width);
        h = std::clamp(target.height, GEOMETRY_SIZE_MIN, frame_geometry.max_height);
    }
    w = std::max(geometry_even(w), 1);
    CLIP_RECT rect = tracks_rect(filter, param->width, param->height);
    if (target.keep_aspect) take_shape(&rect, w, h);
    uint8_t *image = geometry_image(param), *scratch = geometry_scratch(param);
    bool in_scratch = true;
    if (has_size(target)) {
        in_scratch = frame_resize(image, w, h, rect.x, rect.y, rect.w, rect.h, scratch) == scratch;
        param->width = w;
        param->height = h;
    } else {
        frame_copy_rows(scratch, geometry_at(image, rect.x, rect.y), nullptr, rect.w, rect.h, 1);
        param->width = rect.w;
        param->height = rect.h;
    }
    if (in_scratch) geometry_swap(param);
    return 1;
}
