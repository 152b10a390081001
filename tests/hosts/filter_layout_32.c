/* The published sizes and offsets of the plug-in records. Compiled, never run, for a 32-bit machine. */
#include <stddef.h>

#include "vantel_filter.h"
#include "vantel_input.h"
#include "vantel_pixel.h"

#define AT(record, field, offset) _Static_assert(offsetof(record, field) == (offset), #record "." #field)

_Static_assert(sizeof(YC48_PIXEL) == 6, "YC48_PIXEL");

_Static_assert(sizeof(FILTER) == 1220, "FILTER");
AT(FILTER, flags, 0);
AT(FILTER, pos_x, 4);
AT(FILTER, pos_y, 8);
AT(FILTER, name, 12);
AT(FILTER, track_count, 16);
AT(FILTER, track_labels, 20);
AT(FILTER, track_defaults, 24);
AT(FILTER, track_lows, 28);
AT(FILTER, track_highs, 32);
AT(FILTER, check_count, 36);
AT(FILTER, check_labels, 40);
AT(FILTER, check_defaults, 44);
AT(FILTER, func_proc, 48);
AT(FILTER, func_init, 52);
AT(FILTER, func_exit, 56);
AT(FILTER, func_update, 60);
AT(FILTER, func_WndProc, 64);
AT(FILTER, track_values, 68);
AT(FILTER, check_values, 72);
AT(FILTER, extra_data, 76);
AT(FILTER, extra_size, 80);
AT(FILTER, info_text, 84);
AT(FILTER, func_save_start, 88);
AT(FILTER, func_save_end, 92);
AT(FILTER, host, 96);
AT(FILTER, window, 100);
AT(FILTER, module, 104);
AT(FILTER, extra_defaults, 108);
AT(FILTER, func_is_saveframe, 112);
AT(FILTER, func_project_load, 116);
AT(FILTER, func_project_save, 120);
AT(FILTER, func_modify_title, 124);
AT(FILTER, folder_name, 128);
AT(FILTER, reserved, 132);
AT(FILTER, menu_index, 140);
AT(FILTER, main_window, 144);
AT(FILTER, active_box, 148);
AT(FILTER, track_bars, 152);
AT(FILTER, track_edits, 280);
AT(FILTER, track_lefts, 408);
AT(FILTER, track_rights, 536);
AT(FILTER, track_names, 664);
AT(FILTER, check_boxes, 792);
AT(FILTER, track_store, 920);
AT(FILTER, check_store, 1048);
AT(FILTER, menu, 1176);
AT(FILTER, chain_order, 1180);
AT(FILTER, instance, 1184);
AT(FILTER, cache_frame_a, 1188);
AT(FILTER, cache_frame_b, 1192);
AT(FILTER, cache_store, 1196);
AT(FILTER, cache_width, 1200);
AT(FILTER, cache_height, 1204);
AT(FILTER, cache_depth, 1208);
AT(FILTER, cache_flags, 1212);
AT(FILTER, pixel_size, 1216);

_Static_assert(sizeof(FILTER_PROC_PARAM) == 104, "FILTER_PROC_PARAM");
AT(FILTER_PROC_PARAM, flags, 0);
AT(FILTER_PROC_PARAM, image, 4);
AT(FILTER_PROC_PARAM, scratch, 8);
AT(FILTER_PROC_PARAM, width, 12);
AT(FILTER_PROC_PARAM, height, 16);
AT(FILTER_PROC_PARAM, buffer_width, 20);
AT(FILTER_PROC_PARAM, buffer_height, 24);
AT(FILTER_PROC_PARAM, frame, 28);
AT(FILTER_PROC_PARAM, frame_count, 32);
AT(FILTER_PROC_PARAM, source_width, 36);
AT(FILTER_PROC_PARAM, source_height, 40);
AT(FILTER_PROC_PARAM, audio, 44);
AT(FILTER_PROC_PARAM, audio_samples, 48);
AT(FILTER_PROC_PARAM, audio_channels, 52);
AT(FILTER_PROC_PARAM, display_pixels, 56);
AT(FILTER_PROC_PARAM, edit, 60);
AT(FILTER_PROC_PARAM, pixel_size, 64);
AT(FILTER_PROC_PARAM, line_size, 68);
AT(FILTER_PROC_PARAM, reserved, 72);

_Static_assert(sizeof(INPUT_PLUGIN_TABLE) == 116, "INPUT_PLUGIN_TABLE");
AT(INPUT_PLUGIN_TABLE, flags, 0);
AT(INPUT_PLUGIN_TABLE, name, 4);
AT(INPUT_PLUGIN_TABLE, filefilter, 8);
AT(INPUT_PLUGIN_TABLE, information, 12);
AT(INPUT_PLUGIN_TABLE, func_init, 16);
AT(INPUT_PLUGIN_TABLE, func_exit, 20);
AT(INPUT_PLUGIN_TABLE, func_open, 24);
AT(INPUT_PLUGIN_TABLE, func_close, 28);
AT(INPUT_PLUGIN_TABLE, func_info_get, 32);
AT(INPUT_PLUGIN_TABLE, func_read_video, 36);
AT(INPUT_PLUGIN_TABLE, func_read_audio, 40);
AT(INPUT_PLUGIN_TABLE, func_is_keyframe, 44);
AT(INPUT_PLUGIN_TABLE, func_config, 48);
AT(INPUT_PLUGIN_TABLE, func_get_audio_position, 52);
AT(INPUT_PLUGIN_TABLE, reserved, 56);

_Static_assert(sizeof(INPUT_MEDIA_INFO) == 68, "INPUT_MEDIA_INFO");
AT(INPUT_MEDIA_INFO, flags, 0);
AT(INPUT_MEDIA_INFO, rate, 4);
AT(INPUT_MEDIA_INFO, scale, 8);
AT(INPUT_MEDIA_INFO, frames, 12);
AT(INPUT_MEDIA_INFO, video_format, 16);
AT(INPUT_MEDIA_INFO, video_format_size, 20);
AT(INPUT_MEDIA_INFO, audio_samples, 24);
AT(INPUT_MEDIA_INFO, audio_format, 28);
AT(INPUT_MEDIA_INFO, audio_format_size, 32);
AT(INPUT_MEDIA_INFO, video_handler, 36);
AT(INPUT_MEDIA_INFO, reserved, 40);
