#pragma once

#include "pixels/frame_buffer.h"
#include "pixels/word_math.h"

/// Gives the odd pixels of a row their chroma: the mean of both neighbours, floored; in the last pair the even pixel's
/// own. The even pixels are complete. For the scalar definitions that read YUY2.
inline void yuy2_row_odd_chroma(YC48_PIXEL* yc48, int pairs) {
    for (int i = 0; i < pairs; ++i) {
        const YC48_PIXEL& even = yc48[2 * i];
        const YC48_PIXEL& next = i + 1 < pairs ? yc48[2 * i + 2] : even;
        yc48[2 * i + 1].cb = int16_t(word_add(even.cb, next.cb) >> 1);
        yc48[2 * i + 1].cr = int16_t(word_add(even.cr, next.cr) >> 1);
    }
}
