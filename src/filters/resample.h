#pragma once

#include <cstdint>

/// The one resampler: no choice of kernel, any ratio, exact integer steps. Each direction, the width first, goes
/// through doublings by a 1-3 kernel, one fractional pass of a ratio below 2 (linear interpolation upward, area
/// averaging downward) and halvings by a 1-1 mean. For 720 to 352: 720 to 704 by the fractional pass, then one halving.
///
/// Resamples the rectangle at (x, y) of size in_w x in_h of picture `src` to out_w x out_h. Both src and alt are image
/// origins of FRAME_BUFFERs (geometry frame_geometry, either pixel size) and take turns as source and destination.
/// Returns the one of them that holds the result, at its origin; the other one's picture is spent. When sizes are equal
/// and the rectangle starts at the origin nothing runs and src comes back unchanged.
///
/// The rectangle lies inside the maximum picture and out_w, out_h do not exceed it; one pixel around the rectangle is
/// overwritten too (the edges are repeated outwards), even inside src. Sizes below 1 return src untouched. In the
/// 2-byte mode widths stand for whole pairs (odd widths: the pair's second pixel is resampled as if it belonged to the
/// picture) and an odd x is taken as x - 1.
///
/// A flat picture stays flat but for 1 (enlarging) or 2 (reducing) a fractional pass in YC48. Values in YC48 saturate
/// at 16 bits in each step. Allocates nothing. Passes over 32 rows or more go to the worker pool, so only the thread
/// that drives rendering may call this, and not from a worker. No errors.
uint8_t* frame_resize(uint8_t* src, int out_w, int out_h, int x, int y, int in_w, int in_h, uint8_t* alt);
