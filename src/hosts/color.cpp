#include "hosts/color.h"

#include "pixels/convert.h"
#include "pixels/frame_buffer.h"
#include "vantel_formats.h"

static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');
static constexpr uint32_t FCC_YC48 = VANTEL_FOURCC('Y', 'C', '4', '8');

static bool takes_yc48(uint32_t code) { return code == FCC_YC48 && frame_geometry.pixel_size == PIXEL_SIZE_YC48; }

void color_to_frame(uint8_t* frame, const uint8_t* pixels, int width, int height, uint32_t code) {
    if (code == FCC_YUY2)
        yuy2_to_frame(frame, pixels, width, height);
    else if (takes_yc48(code))
        yc48_to_frame(frame, pixels, width, height);
    else
        rgb24_to_frame(frame, pixels, width, height);
}

void color_from_frame(uint8_t* pixels, const uint8_t* frame, int width, int height, uint32_t code) {
    if (code == FCC_YUY2)
        frame_to_yuy2(pixels, frame, width, height);
    else if (takes_yc48(code))
        frame_to_yc48(pixels, frame, width, height);
    else
        frame_to_rgb24(pixels, frame, width, height);
}

int color_bits(uint32_t code) { return code == FCC_YUY2 ? 16 : code == FCC_YC48 ? 48 : 24; }
