#include "filters/color_params.h"

#include <algorithm>

#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

static constexpr int TRACK_LIMIT = 256;
static constexpr int GAIN_ONE = 16384, GAIN_MAX = 32767;
static constexpr int LUMA_BYTES = 219, CHROMA_BYTES = 224, BYTE_MAX = 255;  // what is between black and white

static int track(const int32_t* tracks, int i) { return word_clamp(tracks[i], -TRACK_LIMIT, TRACK_LIMIT); }

static int16_t gain_limited(int gain) { return int16_t(std::min(gain, GAIN_MAX)); }

static void finish_offsets(COLOR_PARAMS& params, int pixel_size) {
    if (pixel_size != PIXEL_SIZE_YUY2) return;
    for (int i = 0; i < 3; ++i)
        params.offset[i] = int16_t(params.offset[i] * (i == 0 ? LUMA_BYTES : CHROMA_BYTES) / BYTE_MAX);
}

COLOR_PARAMS color_params(const int32_t* tracks, int pixel_size) {
    const bool is_yuy2 = pixel_size == PIXEL_SIZE_YUY2;
    const int b = track(tracks, COLOR_TRACK_BRIGHTNESS), c = track(tracks, COLOR_TRACK_CONTRAST);
    const int g = track(tracks, COLOR_TRACK_GAMMA), l = track(tracks, COLOR_TRACK_LUMA);
    const int s = track(tracks, COLOR_TRACK_SATURATION), h = track(tracks, COLOR_TRACK_HUE);
    const auto gain = [](int sum) { return gain_limited(std::max(sum + TRACK_LIMIT, 0) * 64); };
    COLOR_PARAMS params{};
    params.kind = g ? COLOR_GAMMA : c || l || s || h ? COLOR_SCALE : b ? COLOR_BRIGHTEN : COLOR_NOTHING;
    params.brighten = int16_t(is_yuy2 ? b * LUMA_BYTES / BYTE_MAX : b * 16);
    params.gain[0] = gain(c + l);
    params.gain[1] = gain(c + s + h);
    params.gain[2] = gain(c + s - h);
    params.offset[0] = int16_t((c + 256) * b * 16 / 256 - c * 8);
    params.pivot = is_yuy2 ? LUMA_BYTES * 16 / 2 : 2048;
    params.gamma = int16_t(g * 16);
    finish_offsets(params, pixel_size);
    return params;
}

/// What a check adds: 14-bit gains of 255/219 and 255/224, or their inverses, and where black goes.
struct SCALE_CHECK {
    int offset, luma_gain, chroma_gain;
};
static constexpr SCALE_CHECK AS_IT_IS = {0, 0, 0}, TV_TO_PC = {-298, 2693, 2267}, PC_TO_TV = {256, -2313, -1992};

static void set_components(COLOR_PARAMS& params, const int32_t* tracks, const SCALE_CHECK& check) {
    for (int i = 0; i < 3; ++i) {
        const int offset = track(tracks, COLOR_TRACK_Y + 2 * i), gain = track(tracks, COLOR_TRACK_Y + 2 * i + 1);
        params.offset[i] = int16_t(offset * 16 + (i == 0 ? check.offset : 0));
        params.gain[i] = gain_limited(GAIN_ONE + gain * 64 + (i == 0 ? check.luma_gain : check.chroma_gain));
    }
}

static void set_rgb(COLOR_PARAMS& params, const int32_t* tracks) {
    for (int i = 0; i < 3; ++i) {
        const int first = COLOR_TRACK_R + 3 * (2 - i);  // tracks are in the order R, G, B
        params.rgb_offset[i] = int16_t(track(tracks, first) * 16);
        params.rgb_gain[i] = gain_limited(GAIN_ONE + track(tracks, first + 1) * 64);
        params.rgb_gamma[i] = int16_t(track(tracks, first + 2) * 16);
    }
}

COLOR_PARAMS color_params_extended(const int32_t* tracks, const int32_t* checks, int pixel_size) {
    COLOR_PARAMS params{};
    set_components(params, tracks,
                   checks[COLOR_CHECK_TV_TO_PC]   ? TV_TO_PC
                   : checks[COLOR_CHECK_PC_TO_TV] ? PC_TO_TV
                                                  : AS_IT_IS);
    set_rgb(params, tracks);
    const auto is_zero = [](int v) { return v == 0; };
    const bool uses_rgb = !std::all_of(tracks + COLOR_TRACK_R, tracks + COLOR_EXTENDED_TRACK_N, is_zero);
    const bool is_neutral = std::all_of(params.offset, params.offset + 3, is_zero) &&
                            std::all_of(params.gain, params.gain + 3, [](int v) { return v == GAIN_ONE; });
    params.kind = uses_rgb ? COLOR_RGB : is_neutral ? COLOR_NOTHING : COLOR_SCALE;
    finish_offsets(params, pixel_size);
    return params;
}
