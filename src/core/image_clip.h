#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_formats.h"

/// A picture pasted onto a frame: a header, then bottom-up 24-bit rows of dib24_stride. One block of the C heap; ids of
/// such blocks stand in EDIT_STATE::clip, which owns them.
struct IMAGE_CLIP {
    BITMAPINFOHEADER header;
};

inline const uint8_t* image_clip_pixels(const IMAGE_CLIP* clip) {
    return reinterpret_cast<const uint8_t*>(clip) + sizeof(BITMAPINFOHEADER);
}
