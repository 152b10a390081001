#include "support/sync_meter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "support/command.h"

static constexpr int FLASH_LEVEL = 185;  // the brightest other picture is below 160
static constexpr double QUIET_SECONDS = 0.05;

static std::vector<double> flashes_of(const std::string& levels, double fps) {
    std::vector<double> times;
    bool before = false;
    for (size_t i = 0; i < levels.size(); ++i) {
        const bool now = uint8_t(levels[i]) >= FLASH_LEVEL;
        if (now && !before) times.push_back(double(i) / fps);
        before = now;
    }
    return times;
}

// A beep begins where its wave first passes a quarter of the highest peak; what codecs put in front is lower.
static std::vector<double> beeps_of(const std::vector<int16_t>& samples, int rate) {
    int peak = 4;
    for (const int x : samples) peak = std::max(peak, std::abs(x));
    std::vector<double> times;
    double loud = -1;
    for (size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < peak / 4) continue;
        const double now = double(i) / rate;
        if (now - loud > QUIET_SECONDS) times.push_back(now);
        loud = now;
    }
    return times;
}

// By the stream header: units of dwScale / dwRate seconds.
static double sound_seconds_told(const std::string& file) {
    const size_t at = file.find("strh", file.find("auds") - 8);
    if (file.find("auds") == std::string::npos || at + 44 > file.size()) return 0;
    uint32_t head[10];
    std::memcpy(head, file.data() + at + 8, sizeof head);
    return head[6] ? double(head[8]) * head[5] / head[6] : 0;
}

SYNC_MARKS sync_measure(const std::string& folder, const std::string& path, double fps, int rate) {
    const std::string frames = folder + "/frames.raw", sound = folder + "/sound.raw";
    file_put_bytes(frames, "");
    file_put_bytes(sound, "");
    ffmpeg_run("-i " + path + " -map 0:v -vf crop=iw:40:0:0,scale=1:1,format=gray -f rawvideo -vsync passthrough " +
               frames + " -map 0:a -ac 1 -f s16le " + sound);
    const std::string bytes = file_bytes(sound);
    std::vector<int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    return {flashes_of(file_bytes(frames), fps), beeps_of(samples, rate), double(samples.size()) / rate,
            sound_seconds_told(file_bytes(path))};
}

double sync_error(const SYNC_MARKS& marks) {
    if (marks.flashes.size() != marks.beeps.size()) return 1000;
    double worst = 0;
    for (size_t i = 0; i < marks.beeps.size(); ++i)
        worst = std::max(worst, std::abs(marks.beeps[i] - marks.flashes[i]));
    return worst;
}
