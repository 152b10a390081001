#pragma once

#include <cstdint>

/// The constants of the two colour filters, made from their tracks.

/// What a picture goes through, the shortest arithmetic that does what the tracks ask. A kernel exists for each but the
/// last.
enum COLOR_CASE {
    COLOR_BRIGHTEN,  // luma moves by one value
    COLOR_SCALE,     // each component with its own gain and offset
    COLOR_GAMMA,     // the same, and luma is bent
    COLOR_RGB,       // the same as COLOR_SCALE, then gain, offset and bend of R, G and B
    COLOR_NOTHING,
};

/// Gains: 16384 is 1. Offsets and gamma: 4096 is the way from black to white, but in the 2-byte mode 3504 for the
/// offsets of luma. A gamma of g lifts the middle by g / 4 and leaves black and white in place.
struct COLOR_PARAMS {
    COLOR_CASE kind;
    int16_t brighten;     // COLOR_BRIGHTEN: words, or bytes (-219 .. 219) in the 2-byte mode
    int16_t gain[3];      // Y, Cb, Cr
    int16_t offset[3];    // Y, Cb, Cr
    int16_t pivot;        // COLOR_GAMMA: the luma that is lifted most
    int16_t gamma;        // COLOR_GAMMA
    int16_t rgb_gain[3];  // B, G, R, like the two below
    int16_t rgb_offset[3];
    int16_t rgb_gamma[3];
};

// The tracks of the plain filter.
enum {
    COLOR_TRACK_BRIGHTNESS,
    COLOR_TRACK_CONTRAST,
    COLOR_TRACK_GAMMA,
    COLOR_TRACK_LUMA,
    COLOR_TRACK_SATURATION,
    COLOR_TRACK_HUE,
    COLOR_TRACK_N
};
// Of the extended one: offset and gain of Y, Cb, Cr, then offset, gain and gamma of R, G, B.
enum { COLOR_TRACK_Y = 0, COLOR_TRACK_R = 6, COLOR_EXTENDED_TRACK_N = 15 };
enum { COLOR_CHECK_RGB_SYNC, COLOR_CHECK_TV_TO_PC, COLOR_CHECK_PC_TO_TV, COLOR_CHECK_N };

/// Of the plain filter: COLOR_TRACK_N tracks b, c, g, l, s, h, each -256 .. 256 (others are brought there). Divisions
/// truncate. offset of Y: (c + 256) * b * 16 / 256 - c * 8; of Cb and Cr: 0. Gains: (c + l + 256) * 64,
/// (c + s + h + 256) * 64, (c + s - h + 256) * 64, within 0 .. 32767. gamma: g * 16, about 2048, or 1752 for bytes.
/// brighten: b * 16, or b * 219 / 255 for bytes. pixel_size 6 or 2; for 2, offsets of luma are multiplied by 219 / 255,
/// those of chroma by 224 / 255, at the very end and truncating.
COLOR_PARAMS color_params(const int32_t* tracks, int pixel_size);

/// Of the extended filter: COLOR_EXTENDED_TRACK_N tracks of -256 .. 256 and COLOR_CHECK_N checks. Offsets and gamma:
/// track * 16; gains: 16384 + track * 64. The checks for TV and PC scale add to those of Y, Cb, Cr; the first of them
/// wins. A gain is limited to 32767 at the top alone: down from 0 (PC to TV scale and a gain track near -256) it is
/// negative. Only offsets of Y, Cb, Cr depend on pixel_size, as above.
COLOR_PARAMS color_params_extended(const int32_t* tracks, const int32_t* checks, int pixel_size);
