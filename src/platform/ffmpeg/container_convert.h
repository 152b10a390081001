#pragma once

#include <cstdint>

/// Planar YUV of any depth and chroma size to YUY2 (container_yuy2.cpp). Integer arithmetic on 14 bits (an 8-bit level
/// times 64), rounded once at the end, to nearest.

struct PLANE_VIEW {
    const uint8_t* data;
    int stride;  // bytes; may be negative
};

enum PICTURE_MATRIX { MATRIX_601, MATRIX_709, MATRIX_2020, MATRIX_240M };

struct PICTURE_PLANES {
    PLANE_VIEW plane[3];  // Y, Cb, Cr; words of the machine when depth is above 8
    int width, height;
    int depth;           // 8 .. 16
    int log2_w, log2_h;  // of the chroma planes, 0 .. 2
    int site_x,
        site_y;       // where chroma lies in the square of pixels it is for, in halves: 0 left or top, 1 middle, 2 end
    bool grey;        // without chroma
    bool interlaced;  // log2_h is 1 and chroma belongs to fields
    bool full_range;
    PICTURE_MATRIX matrix;
};

/// out: height rows of (width + 1) / 2 * 4 bytes; the second luma of a half pair repeats the first. Runs on the worker
/// pool.
void planes_to_yuy2(const PICTURE_PLANES& planes, uint8_t* out);
