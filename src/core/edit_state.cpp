#include "core/edit_state.h"

// The layout is a file format: every row of it is proven here.

EDIT_STATE* edit_state = nullptr;

#define AT(record, field, offset, size) \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (size))

static_assert(sizeof(EDIT_STATE) == 4983272);
AT(EDIT_STATE, edit_flag, 0, 4);
AT(EDIT_STATE, file_name, 4, 260);
AT(EDIT_STATE, save_name, 264, 260);
AT(EDIT_STATE, project_name, 524, 260);
AT(EDIT_STATE, width, 784, 4);
AT(EDIT_STATE, height, 788, 4);
AT(EDIT_STATE, frame_n, 792, 4);
AT(EDIT_STATE, select_start, 796, 4);
AT(EDIT_STATE, select_end, 800, 4);
AT(EDIT_STATE, select_anchor, 804, 4);
AT(EDIT_STATE, out_width, 808, 4);
AT(EDIT_STATE, out_height, 812, 4);
AT(EDIT_STATE, frame, 816, 4);
AT(EDIT_STATE, shown_image, 820, 4);
AT(EDIT_STATE, shown_header, 824, 40);
AT(EDIT_STATE, shown_pixels, 864, 4);
AT(EDIT_STATE, shown_wave, 868, 4);
AT(EDIT_STATE, shown_wave_n, 872, 4);
AT(EDIT_STATE, view, 876, 84);
AT(EDIT_STATE, base, 960, 50104);
AT(EDIT_STATE, save_context, 51064, 50104);
AT(EDIT_STATE, video_setting, 101168, 24704);
AT(EDIT_STATE, audio_setting, 125872, 8548);
AT(EDIT_STATE, reserved_a, 134420, 4);
AT(EDIT_STATE, profile_name, 134424, 24960);
AT(EDIT_STATE, source, 159384, 3223296);
AT(EDIT_STATE, frame_video_setting, 3382680, 1581056);
AT(EDIT_STATE, clip, 4963736, 1024);
AT(EDIT_STATE, ex_title, 4964760, 256);
AT(EDIT_STATE, ex_comment, 4965016, 256);
AT(EDIT_STATE, ex_copyright, 4965272, 256);
AT(EDIT_STATE, output_kind, 4965528, 4);
AT(EDIT_STATE, output_setting, 4965532, 16676);
AT(EDIT_STATE, reserved_b, 4982208, 1024);
AT(EDIT_STATE, column_pointer, 4983232, 40);

static_assert(sizeof(VIEW_RECORD) == 84);
AT(VIEW_RECORD, view_flag, 0, 4);
AT(VIEW_RECORD, left, 4, 4);
AT(VIEW_RECORD, top, 8, 4);
AT(VIEW_RECORD, width, 12, 4);
AT(VIEW_RECORD, height, 16, 4);
AT(VIEW_RECORD, zoom, 20, 4);
AT(VIEW_RECORD, main_window, 24, 4);
AT(VIEW_RECORD, trackbar, 28, 4);
AT(VIEW_RECORD, button_back, 32, 4);
AT(VIEW_RECORD, button_forward, 36, 4);
AT(VIEW_RECORD, button_in, 40, 4);
AT(VIEW_RECORD, button_out, 44, 4);
AT(VIEW_RECORD, display_code, 48, 4);
AT(VIEW_RECORD, draw_rect, 52, 24);
AT(VIEW_RECORD, reserved, 76, 8);

static_assert(sizeof(MEDIA_RECORD) == 50104);
AT(MEDIA_RECORD, media_flag, 0, 4);
AT(MEDIA_RECORD, media_width, 4, 4);
AT(MEDIA_RECORD, media_height, 8, 4);
AT(MEDIA_RECORD, media_frames, 12, 4);
AT(MEDIA_RECORD, video_header, 16, 40);
AT(MEDIA_RECORD, audio_header, 56, 18);
AT(MEDIA_RECORD, reserved_a, 74, 2);
AT(MEDIA_RECORD, media_handle, 76, 4);
AT(MEDIA_RECORD, media_info, 80, 68);
AT(MEDIA_RECORD, video_stream, 148, 140);
AT(MEDIA_RECORD, audio_stream, 288, 140);
AT(MEDIA_RECORD, video_format, 428, 8192);
AT(MEDIA_RECORD, video_format_size, 8620, 4);
AT(MEDIA_RECORD, audio_format, 8624, 8192);
AT(MEDIA_RECORD, audio_format_size, 16816, 4);
AT(MEDIA_RECORD, decoder, 16820, 24704);
AT(MEDIA_RECORD, converter, 41524, 8548);
AT(MEDIA_RECORD, last_frame, 50072, 4);
AT(MEDIA_RECORD, read_buffer, 50076, 4);
AT(MEDIA_RECORD, reserved_b, 50080, 24);

static_assert(sizeof(MEDIA_INFO_STORED) == 68);
AT(MEDIA_INFO_STORED, flags, 0, 4);
AT(MEDIA_INFO_STORED, rate, 4, 4);
AT(MEDIA_INFO_STORED, scale, 8, 4);
AT(MEDIA_INFO_STORED, frames, 12, 4);
AT(MEDIA_INFO_STORED, video_format, 16, 4);
AT(MEDIA_INFO_STORED, video_format_size, 20, 4);
AT(MEDIA_INFO_STORED, audio_samples, 24, 4);
AT(MEDIA_INFO_STORED, audio_format, 28, 4);
AT(MEDIA_INFO_STORED, audio_format_size, 32, 4);
AT(MEDIA_INFO_STORED, video_handler, 36, 4);
AT(MEDIA_INFO_STORED, reserved, 40, 28);

static_assert(sizeof(AVI_STREAM_INFO) == 140);
AT(AVI_STREAM_INFO, fccType, 0, 4);
AT(AVI_STREAM_INFO, fccHandler, 4, 4);
AT(AVI_STREAM_INFO, dwFlags, 8, 4);
AT(AVI_STREAM_INFO, dwScale, 20, 4);
AT(AVI_STREAM_INFO, dwRate, 24, 4);
AT(AVI_STREAM_INFO, dwStart, 28, 4);
AT(AVI_STREAM_INFO, dwLength, 32, 4);
AT(AVI_STREAM_INFO, dwInitialFrames, 36, 4);
AT(AVI_STREAM_INFO, dwSuggestedBufferSize, 40, 4);
AT(AVI_STREAM_INFO, dwQuality, 44, 4);
AT(AVI_STREAM_INFO, dwSampleSize, 48, 4);
AT(AVI_STREAM_INFO, rcFrame, 52, 16);
AT(AVI_STREAM_INFO, szName, 76, 64);

static_assert(sizeof(VIDEO_CODEC_SETTING) == 24704);
AT(VIDEO_CODEC_SETTING, setting_flags, 0, 4);
AT(VIDEO_CODEC_SETTING, compressor, 4, 4);
AT(VIDEO_CODEC_SETTING, handler, 8, 4);
AT(VIDEO_CODEC_SETTING, quality, 12, 4);
AT(VIDEO_CODEC_SETTING, key_rate, 16, 4);
AT(VIDEO_CODEC_SETTING, data_rate, 20, 4);
AT(VIDEO_CODEC_SETTING, frame_number, 24, 4);
AT(VIDEO_CODEC_SETTING, input_format, 28, 40);
AT(VIDEO_CODEC_SETTING, key_countdown, 68, 4);
AT(VIDEO_CODEC_SETTING, bytes_per_frame, 72, 4);
AT(VIDEO_CODEC_SETTING, budget, 76, 4);
AT(VIDEO_CODEC_SETTING, output_buffer, 80, 4);
AT(VIDEO_CODEC_SETTING, previous_frame, 84, 4);
AT(VIDEO_CODEC_SETTING, output_format, 88, 8192);
AT(VIDEO_CODEC_SETTING, output_format_size, 8280, 4);
AT(VIDEO_CODEC_SETTING, codec_state, 8284, 16384);
AT(VIDEO_CODEC_SETTING, codec_state_size, 24668, 4);
AT(VIDEO_CODEC_SETTING, reserved, 24672, 32);

static_assert(sizeof(AUDIO_OUTPUT_SETTING) == 8548);
AT(AUDIO_OUTPUT_SETTING, audio_flags, 0, 4);
AT(AUDIO_OUTPUT_SETTING, final_driver, 4, 4);
AT(AUDIO_OUTPUT_SETTING, final_stream, 8, 4);
AT(AUDIO_OUTPUT_SETTING, final_header, 12, 84);
AT(AUDIO_OUTPUT_SETTING, first_driver, 96, 4);
AT(AUDIO_OUTPUT_SETTING, first_stream, 100, 4);
AT(AUDIO_OUTPUT_SETTING, first_header, 104, 84);
AT(AUDIO_OUTPUT_SETTING, middle_format, 188, 18);
AT(AUDIO_OUTPUT_SETTING, reserved_a, 206, 2);
AT(AUDIO_OUTPUT_SETTING, final_soft, 208, 56);
AT(AUDIO_OUTPUT_SETTING, first_soft, 264, 56);
AT(AUDIO_OUTPUT_SETTING, target_format, 320, 8192);
AT(AUDIO_OUTPUT_SETTING, target_format_size, 8512, 4);
AT(AUDIO_OUTPUT_SETTING, interleave, 8516, 4);
AT(AUDIO_OUTPUT_SETTING, reserved_b, 8520, 28);

static_assert(sizeof(AUDIO_STREAM_HEADER) == 84);
AT(AUDIO_STREAM_HEADER, source, 24, 4);
AT(AUDIO_STREAM_HEADER, source_size, 28, 4);
AT(AUDIO_STREAM_HEADER, source_used, 32, 4);
AT(AUDIO_STREAM_HEADER, target, 40, 4);
AT(AUDIO_STREAM_HEADER, target_size, 44, 4);
AT(AUDIO_STREAM_HEADER, target_used, 48, 4);

static_assert(sizeof(SOFT_CONVERTER) == 56);
AT(SOFT_CONVERTER, word, 0, 56);

static_assert(sizeof(SOURCE_SLOT) == 50364);
AT(SOURCE_SLOT, path, 0, 260);
AT(SOURCE_SLOT, media, 260, 50104);

static_assert(sizeof(OUTPUT_SETTING) == 16676);
AT(OUTPUT_SETTING, plugin_name, 0, 256);
AT(OUTPUT_SETTING, plugin_config, 256, 16384);
AT(OUTPUT_SETTING, plugin_config_size, 16640, 4);
AT(OUTPUT_SETTING, reserved, 16644, 32);

static_assert(sizeof(BITMAPINFOHEADER) == 40);
AT(BITMAPINFOHEADER, biSize, 0, 4);
AT(BITMAPINFOHEADER, biWidth, 4, 4);
AT(BITMAPINFOHEADER, biHeight, 8, 4);
AT(BITMAPINFOHEADER, biPlanes, 12, 2);
AT(BITMAPINFOHEADER, biBitCount, 14, 2);
AT(BITMAPINFOHEADER, biCompression, 16, 4);
AT(BITMAPINFOHEADER, biSizeImage, 20, 4);

static_assert(sizeof(WAVEFORMATEX) == 18);
AT(WAVEFORMATEX, wFormatTag, 0, 2);
AT(WAVEFORMATEX, nChannels, 2, 2);
AT(WAVEFORMATEX, nSamplesPerSec, 4, 4);
AT(WAVEFORMATEX, nAvgBytesPerSec, 8, 4);
AT(WAVEFORMATEX, nBlockAlign, 12, 2);
AT(WAVEFORMATEX, wBitsPerSample, 14, 2);
AT(WAVEFORMATEX, cbSize, 16, 2);
