#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/image.h"
#include "platform/text.h"

/// A display of a test's own, and how unlike two pictures of windows are.

// ---- a display

/// An X server whose screen nobody sees; ended with the record.
struct DISPLAY_SERVER {
    pid_t process = -1;
    std::string name;  // ":7"; empty: the server is not there

    DISPLAY_SERVER() {
        int ends[2];
        if (pipe(ends) != 0) return;
        process = fork();
        if (process == 0) run(ends);
        close(ends[1]);
        char c;
        while (read(ends[0], &c, 1) == 1 && c != '\n') name += name.empty() ? std::string(":") + c : std::string(1, c);
        close(ends[0]);
    }
    ~DISPLAY_SERVER() {
        if (process <= 0) return;
        kill(process, SIGTERM);
        waitpid(process, nullptr, 0);
    }
    DISPLAY_SERVER(const DISPLAY_SERVER&) = delete;
    DISPLAY_SERVER& operator=(const DISPLAY_SERVER&) = delete;

    [[noreturn]] static void run(const int ends[2]) {
        const int null = open("/dev/null", O_RDWR);
        for (const int stream : {0, 1, 2}) dup2(null, stream);
        close(ends[0]);
        execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(ends[1]).c_str(), "-screen", "0", "1600x1200x24",
               "-nolisten", "tcp", static_cast<char*>(nullptr));
        _exit(127);
    }
};

// ---- pictures

struct AREA {
    int left, top, width, height;
};
struct SHOT {
    int width = 0, height = 0;
    std::vector<uint8_t> bgra;  // the lowest row first

    const uint8_t* at(int x, int y) const { return &bgra[(size_t(height - 1 - y) * size_t(width) + size_t(x)) * 4]; }
    AREA whole() const { return {0, 0, width, height}; }
};

inline SHOT shot_read(const std::string& path) {
    SHOT shot;
    const std::string name = text_from_utf8(path);
    if (!image_file_size(name.c_str(), &shot.width, &shot.height)) return {};
    shot.bgra.resize(size_t(shot.width) * size_t(shot.height) * 4);
    return image_file_read(name.c_str(), shot.width, shot.height, shot.bgra.data()) == IMAGE_WHOLE ? shot : SHOT{};
}

using MEAN = std::array<double, 3>;
struct MEANS {
    int columns, rows;
    std::vector<MEAN> mean;
    const MEAN& at(int x, int y) const {
        return mean[size_t(std::clamp(y, 0, rows - 1) * columns + std::clamp(x, 0, columns - 1))];
    }
    // Letters of another font fill other pixels, but about as many of them: each block takes in its neighbours.
    MEAN spread(int x, int y) const {
        MEAN sum{};
        for (int i = 0; i < 9; ++i)
            for (size_t c = 0; c < 3; ++c) sum[c] += at(x + i % 3 - 1, y + i / 3 - 1)[c] / 9;
        return sum;
    }
};

inline MEAN mean_of(const SHOT& shot, int left, int top, int right, int bottom) {
    MEAN sum{};
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x)
            for (size_t c = 0; c < 3; ++c) sum[c] += shot.at(x, y)[c];
    for (double& s : sum) s /= std::max((right - left) * (bottom - top), 1);
    return sum;
}

inline MEANS means_of(const SHOT& shot, const AREA& a, int columns, int rows) {
    MEANS means{columns, rows, {}};
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            means.mean.push_back(mean_of(shot, a.left + a.width * x / columns, a.top + a.height * y / rows,
                                         a.left + a.width * (x + 1) / columns, a.top + a.height * (y + 1) / rows));
    return means;
}

inline constexpr int BLOCK = 8;
/// The largest difference of two looks, in levels, and where. `got` may have another size or scale.
struct DISTANCE {
    double far;
    std::string where;
};
inline DISTANCE distance(const SHOT& want, const AREA& want_area, const SHOT& got, const AREA& got_area) {
    const int columns = want_area.width / BLOCK, rows = want_area.height / BLOCK;
    const MEANS a = means_of(want, want_area, columns, rows), b = means_of(got, got_area, columns, rows);
    DISTANCE worst{0, ""};
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            for (size_t c = 0; c < 3; ++c) {
                const double far = std::fabs(a.spread(x, y)[c] - b.spread(x, y)[c]);
                if (far > worst.far) worst = {far, std::to_string(x * BLOCK) + "," + std::to_string(y * BLOCK)};
            }
    return worst;
}

/// Whether anything is drawn there at all.
inline bool flat(const SHOT& shot, const AREA& a) {
    constexpr int CONTRAST = 12;
    int low = 255, high = 0;
    for (int y = a.top; y < a.top + a.height; ++y)
        for (int x = a.left; x < a.left + a.width; ++x) {
            low = std::min<int>(low, shot.at(x, y)[1]);
            high = std::max<int>(high, shot.at(x, y)[1]);
        }
    return high - low < CONTRAST;
}
