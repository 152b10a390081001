#pragma once

#include <cstdint>

struct TEXT_FONT;

/// Draws text into a picture, at the image origin `frame` of a FRAME_BUFFER of either pixel size.
///
/// x, y:   pixel where the first line's left end and top are; may lie outside. Drawing is clipped to the maximum
/// picture. text:   code page 932, NUL-terminated. Code 10 starts a new line, font height further down at x again;
/// other codes under
///         32 are skipped. Characters that no font has show as a box; null draws nothing.
/// r, g, b: colour, cut to 0 .. 255.
/// transparency: 0 (solid) .. 4096 (invisible), cut to that.
/// font:   null: the default TEXT_FONT.
/// out_w, out_h: the extent of the whole text, drawn or not: the widest line's advance, the number of lines times the
///         height of a line; 0 for an empty text or without any font. Each may be null.
///
/// With coverage c of 0 .. 64 a pixel of YC48 is mixed, per component, as mulhi16(p * 4, 16384 - a) +
/// mulhi16(colour * 4, a), a = (c * (4096 - transparency)) >> 4. In the 2-byte mode, with a = c * (4096 -
/// transparency), luma becomes (colour * a + p * (0x40000 - a)) >> 18 and both bytes of chroma (colour * a + p *
/// (0x80000 - a)) >> 19: each pixel of a pair moves the pair's chroma by half. Pixels of coverage 0 stay as they are.
///
/// Only the thread that drives rendering may call this (the shapes are cached). No errors; without fonts nothing is
/// drawn.
void frame_draw_text(uint8_t* frame, int x, int y, const char* text, int r, int g, int b, int transparency,
                     const TEXT_FONT* font, int* out_w, int* out_h);
