#pragma once

#include <cstddef>
#include <cstdint>

/// Row kernels of the deinterlace methods. Only deinterlace_frame.cpp and the tests of the kernels need this header.
/// Safe on any thread.
///
/// A kernel works on samples: words of YC48 or bytes of YUY2. It reads `bytes` bytes of each of its rows and writes
/// exactly `bytes` bytes of dst. Any alignment (words at even addresses), bytes may be 0, dst overlaps no row.
/// Sums and differences of words saturate at 16 bits, in the order written; results for bytes are taken to 8 bits.
/// `half` and `round` below are 0 for words; for bytes 1 in a mean of two, and as told.
///
/// comb(r0 .. r4), of samples below one another: a = r0 - r1, b = r1 - r2, c = r2 - r3, e = r3 - r4; where b < 0, a and
/// c are complemented (~); where c < 0 as first computed, b and e. min(max(a, c), max(b, e)) is negative where r2
/// stands out as a tooth of a comb does. tolerance(t) = t < 0 ? ~t : 0. shrink(d, t) brings d closer to 0 by t without
/// changing sides: d >= 0 ? max(d - t, 0) : ~max(~d - t, 0).
using DEINTERLACE_ROW = void (*)(uint8_t* dst, const uint8_t* const* rows, size_t bytes);

struct DEINTERLACE_KERNELS {
    /// rows a, b: mean(a, b) = (a + b + half) >> 1.
    DEINTERLACE_ROW mean;
    /// rows u, c, d: mean(c, mean(u, d)).
    DEINTERLACE_ROW soften;
    /// rows c, u, d, ul, dl, ur, dr: the row to replace, its neighbours above and below, and those moved by a pixel to
    /// either side. With m = mean(u, d), |x| = x < 0 ? ~x : x, and pick(x) = |c - x| > |c - m| ? m : x:
    /// (((round + pick(ul) + pick(dl) + pick(ur) + pick(dr)) >> 1) + pick(u) + pick(d)) >> 2, round 4 for bytes.
    DEINTERLACE_ROW adaptive;
    /// rows c(-2) .. c(2) of the picture, p(-2), p(0), p(2) of the one before. With a = mean(c(-1), c(1)):
    /// a + shrink(mean(c(0), p(0)) - a, t), t being the largest of tolerance(comb(c(-2) .. c(2))),
    /// tolerance(comb(p(-2), c(-1), p(0), c(1), p(2))) and (the absolute difference of c(0) and p(0)) >> 1.
    DEINTERLACE_ROW motion;
    /// rows y(2), x(1), y(0), x(-1), y(-2). With a = (x(1) + x(-1) + 2 * y(0) + round) >> 2, round 2 for bytes:
    /// a + shrink(y(0) - a, tolerance(comb(of the rows, in this order) >> 1)).
    DEINTERLACE_ROW stripes;
};

/// The kernels for a pixel size, 6 or 2: the vector forms with simd_enabled, else the definitions.
const DEINTERLACE_KERNELS* deinterlace_kernels(int pixel_size);
/// The definitions. The vector forms give the same bytes.
const DEINTERLACE_KERNELS* deinterlace_kernels_ref(int pixel_size);
