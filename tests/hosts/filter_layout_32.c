/* The published layout of the plug-in records. Compiled, never run, for a 32-bit machine. */
#include <stddef.h>

#include "vantel_filter.h"
#include "vantel_input.h"
#include "vantel_pixel.h"

/* Each record is a list of its fields in order, with their bytes: the real one has every field at the same place. */
#define BYTES_OF(record, field, bytes) char field[bytes];
#define SAME_PLACE(record, field, bytes) \
    _Static_assert(offsetof(record, field) == offsetof(struct PUBLISHED_##record, field), #record "." #field);
#define SAME_LAYOUT(record)               \
    struct PUBLISHED_##record {           \
        record##_FIELDS(BYTES_OF, record) \
    };                                    \
    record##_FIELDS(SAME_PLACE, record) _Static_assert(sizeof(record) == sizeof(struct PUBLISHED_##record), #record)

/* clang-format off */
#define FILTER_FIELDS(X, R) \
    X(R, flags, 4) X(R, pos_x, 4) X(R, pos_y, 4) X(R, name, 4) X(R, track_count, 4) X(R, track_labels, 4) \
    X(R, track_defaults, 4) X(R, track_lows, 4) X(R, track_highs, 4) X(R, check_count, 4) X(R, check_labels, 4) \
    X(R, check_defaults, 4) X(R, func_proc, 4) X(R, func_init, 4) X(R, func_exit, 4) X(R, func_update, 4) \
    X(R, func_WndProc, 4) X(R, track_values, 4) X(R, check_values, 4) X(R, extra_data, 4) X(R, extra_size, 4) \
    X(R, info_text, 4) X(R, func_save_start, 4) X(R, func_save_end, 4) X(R, host, 4) X(R, window, 4) X(R, module, 4) \
    X(R, extra_defaults, 4) X(R, func_is_saveframe, 4) X(R, func_project_load, 4) X(R, func_project_save, 4) \
    X(R, func_modify_title, 4) X(R, folder_name, 4) X(R, reserved, 8) X(R, menu_index, 4) X(R, main_window, 4) \
    X(R, active_box, 4) X(R, track_bars, 128) X(R, track_edits, 128) X(R, track_lefts, 128) X(R, track_rights, 128) \
    X(R, track_names, 128) X(R, check_boxes, 128) X(R, track_store, 128) X(R, check_store, 128) X(R, menu, 4) \
    X(R, chain_order, 4) X(R, instance, 4) X(R, cache_frame_a, 4) X(R, cache_frame_b, 4) X(R, cache_store, 4) \
    X(R, cache_width, 4) X(R, cache_height, 4) X(R, cache_depth, 4) X(R, cache_flags, 4) X(R, pixel_size, 4)

#define FILTER_PROC_PARAM_FIELDS(X, R) \
    X(R, flags, 4) X(R, image, 4) X(R, scratch, 4) X(R, width, 4) X(R, height, 4) X(R, buffer_width, 4) \
    X(R, buffer_height, 4) X(R, frame, 4) X(R, frame_count, 4) X(R, source_width, 4) X(R, source_height, 4) \
    X(R, audio, 4) X(R, audio_samples, 4) X(R, audio_channels, 4) X(R, display_pixels, 4) X(R, edit, 4) \
    X(R, pixel_size, 4) X(R, line_size, 4) X(R, reserved, 32)

#define INPUT_PLUGIN_TABLE_FIELDS(X, R) \
    X(R, flags, 4) X(R, name, 4) X(R, filefilter, 4) X(R, information, 4) X(R, func_init, 4) X(R, func_exit, 4) \
    X(R, func_open, 4) X(R, func_close, 4) X(R, func_info_get, 4) X(R, func_read_video, 4) X(R, func_read_audio, 4) \
    X(R, func_is_keyframe, 4) X(R, func_config, 4) X(R, func_get_audio_position, 4) X(R, reserved, 60)

#define INPUT_MEDIA_INFO_FIELDS(X, R) \
    X(R, flags, 4) X(R, rate, 4) X(R, scale, 4) X(R, frames, 4) X(R, video_format, 4) X(R, video_format_size, 4) \
    X(R, audio_samples, 4) X(R, audio_format, 4) X(R, audio_format_size, 4) X(R, video_handler, 4) \
    X(R, reserved, 28)

/* clang-format on */
SAME_LAYOUT(FILTER);
SAME_LAYOUT(FILTER_PROC_PARAM);
SAME_LAYOUT(INPUT_PLUGIN_TABLE);
SAME_LAYOUT(INPUT_MEDIA_INFO);
_Static_assert(sizeof(YC48_PIXEL) == 6, "YC48_PIXEL");
