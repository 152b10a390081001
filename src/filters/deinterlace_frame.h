#pragma once

#include <cstdint>

/// The deinterlace methods on whole pictures. All pointers are image origins of different FRAME_BUFFERs (geometry
/// frame_geometry, either pixel size); sources are only read, within the picture, and w x h pixels of `image` are
/// written, in the 2-byte mode whole pairs. w and h are at least 1; but for deinterlace_weave a picture below 3 rows
/// is copied from cur. top_first: the even rows are the earlier field. Allocates nothing. 32 rows or more go to the
/// worker pool, so only the thread that drives rendering may call these, and not from a worker. No errors. The
/// arithmetic is that of deinterlace_kernels.h.

/// How the rows between the kept ones come about.
enum FIELD_FILL {
    FIELD_REPEAT,    // the kept row above (even rows kept) or below (odd rows kept)
    FIELD_MEAN,      // mean of the kept rows above and below
    FIELD_ADAPTIVE,  // weighted mean of the kept neighbours that the replaced sample resembles
};

/// Keeps every second row of cur from row `kept` (0 or 1) on and fills in the others from the kept rows above and
/// below; a first or last row that has only one such neighbour repeats it. Beyond the left and right edge
/// FIELD_ADAPTIVE repeats the edge pixel.
void deinterlace_field(uint8_t* image, const uint8_t* cur, int w, int h, int kept, FIELD_FILL fill);

/// Mean of cur and of the mean of the rows above and below; the first and last row are the mean with themselves.
void deinterlace_double(uint8_t* image, const uint8_t* cur, int w, int h);

/// Keeps the earlier field of cur and rebuilds the later one out of both pictures where they stand still, out of the
/// kept rows where they move. h / 2 pairs of rows; with an odd h the last row keeps what image held. Rows outside the
/// picture are the nearest row of the same field.
void deinterlace_motion(uint8_t* image, const uint8_t* cur, const uint8_t* prev, int w, int h, bool top_first);

/// The even rows of one picture and the odd rows of the other: the even ones come from cur if top_first, else from
/// other. other may be cur.
void deinterlace_weave(uint8_t* image, const uint8_t* cur, const uint8_t* other, int w, int h, bool top_first);

/// deinterlace_weave, with rows blended into their neighbours where the woven picture shows combing.
void deinterlace_stripes(uint8_t* image, const uint8_t* cur, const uint8_t* other, int w, int h, bool top_first);
