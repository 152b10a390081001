#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The last rendered picture (out_width x out_height) in an outside format, for display tools: code 0 is a 24-bit DIB,
/// or a four-character code (hosts/color.h tells their layouts). Unlike display_convert it leaves shown_pixels,
/// shown_header and the display buffer as they are. Null when nothing is rendered. The pixels are valid until the next
/// call. Main thread.
const uint8_t* shown_pixels_copy(EDIT_STATE* edit, uint32_t code);
