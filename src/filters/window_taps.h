#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The windows of the spatial filters, by radius: discs out of which the centre is left. `reach` is how far a window
/// goes to each side.
///
///     0: reach 1    1: reach 1    2: reach 2    3: reach 3
///                                                  ooo
///                                    ooo          ooooo
///         o            ooo          ooooo        ooooooo
///        o o           o o          oo oo        ooo ooo
///         o            ooo          ooooo        ooooooo
///                                    ooo          ooooo
///                                                  ooo
///
/// A step to the side is a pixel of YC48 or a pair of YUY2, so that every neighbour is a sample of the same component.

struct WINDOW_TAP {
    int dx;  // in steps, to the right
    int dy;  // in rows, down
};

inline constexpr int WINDOW_REACH_MAX = 3;
inline constexpr int WINDOW_ROWS_MAX = 2 * WINDOW_REACH_MAX + 1;

constexpr int window_reach(int radius) { return radius ? radius : 1; }

/// Neighbours in a window. They fall into groups, runs of WINDOW_TAPS, of 4, 4, 5 and 6 neighbours.
constexpr size_t window_size(int radius) { return radius == 3 ? 36 : radius == 2 ? 20 : radius == 1 ? 8 : 4; }
constexpr size_t window_group(int radius) { return radius == 3 ? 6 : radius == 2 ? 5 : 4; }

/// The bytes of a step for samples of type T: words of YC48 or bytes of YUY2.
template <typename T>
inline constexpr ptrdiff_t WINDOW_STEP = sizeof(T) == 1 ? 4 : 6;

template <int RADIUS>
constexpr std::array<WINDOW_TAP, window_size(RADIUS)> window_taps_make() {
    std::array<WINDOW_TAP, window_size(RADIUS)> taps{};
    size_t n = 0;
    for (int dy = -RADIUS; dy <= RADIUS; ++dy)
        for (int dx = -RADIUS; dx <= RADIUS; ++dx) {
            const int away = (dx < 0 ? -dx : dx) + (dy < 0 ? -dy : dy);
            if (away > 0 && away <= RADIUS + 1) taps[n++] = {dx, dy};
        }
    return taps;
}

/// The neighbours in the order in which they are summed, which tells wherever sums saturate: row by row from the top
/// left, but for radius 0 above, below, left, right.
template <int RADIUS>
inline constexpr auto WINDOW_TAPS = window_taps_make<RADIUS>();
template <>
inline constexpr std::array<WINDOW_TAP, 4> WINDOW_TAPS<0> = {{{0, -1}, {0, 1}, {-1, 0}, {1, 0}}};
