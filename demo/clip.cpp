#include "demo/clip.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <vector>

#include "core/edit_state.h"
#include "output/avi_file.h"
#include "output/avi_writer.h"
#include "output/save_flags.h"
#include "vantel_formats.h"

static constexpr double BEEP_HZ = 880, BEEP_SECONDS = 0.1, BEEP_LEVEL = 12000;
static constexpr int COUNTER_BITS = 16, BLOCK = 8;

struct RGB {
    uint8_t r, g, b;
};

static bool flash_at(const CLIP& clip, int frame) {
    const int64_t in_second = int64_t{frame} * clip.scale % clip.rate;
    return in_second < clip.scale;
}

// The frame number in binary along the lower edge, so that a test can read which frame it is looking at.
static bool counter_pixel(const CLIP& clip, int frame, int x, int y, bool* on) {
    const int bit = x / BLOCK;
    if (y < clip.height - BLOCK || bit >= COUNTER_BITS || (bit + 1) * BLOCK > clip.width) return false;
    *on = frame >> bit & 1;
    return true;
}

static RGB pixel_at(const CLIP& clip, int frame, int x, int y) {
    bool on;
    if (counter_pixel(clip, frame, x, y, &on)) return on ? RGB{255, 255, 255} : RGB{0, 0, 0};
    if (flash_at(clip, frame)) return {240, 240, 240};
    const int bar = frame * 4 % clip.width;
    if (x >= bar && x < bar + clip.width / 16) return {255, 200, 40};
    return {uint8_t(x * 255 / clip.width), uint8_t(y * 255 / clip.height), uint8_t(frame * 2)};
}

static int luma(const RGB& p) { return (66 * p.r + 129 * p.g + 25 * p.b + 128 + 16 * 256) >> 8; }
static int blue_difference(const RGB& p) { return (-38 * p.r - 74 * p.g + 112 * p.b + 128 + 128 * 256) >> 8; }
static int red_difference(const RGB& p) { return (112 * p.r - 94 * p.g - 18 * p.b + 128 + 128 * 256) >> 8; }

static void draw_yuy2(const CLIP& clip, int frame, std::vector<uint8_t>* out) {
    for (int y = 0; y < clip.height; ++y) {
        for (int x = 0; x < clip.width; x += 2) {
            const RGB a = pixel_at(clip, frame, x, y), b = pixel_at(clip, frame, std::min(x + 1, clip.width - 1), y);
            for (const int sample : {luma(a), blue_difference(a), luma(b), red_difference(a)})
                out->push_back(uint8_t(sample));
        }
    }
}

static void put_rgb(const RGB& p, int bits, std::vector<uint8_t>* out) {
    if (bits == 16) {
        const int word = p.r >> 3 << 10 | p.g >> 3 << 5 | p.b >> 3;
        out->insert(out->end(), {uint8_t(word), uint8_t(word >> 8)});
        return;
    }
    out->insert(out->end(), {p.b, p.g, p.r});
    if (bits == 32) out->push_back(0);
}

static void draw_rgb(const CLIP& clip, int frame, std::vector<uint8_t>* out) {
    for (int y = clip.height - 1; y >= 0; --y) {
        for (int x = 0; x < clip.width; ++x) put_rgb(pixel_at(clip, frame, x, y), clip.bits, out);
        while (out->size() % 4 != 0) out->push_back(0);
    }
}

static std::vector<int16_t> draw_sound(const CLIP& clip, int frame) {
    const auto at = [&](int f) { return int64_t{f} * clip.scale * clip.sample_rate / clip.rate; };
    std::vector<int16_t> samples;
    for (int64_t i = at(frame); i < at(frame + 1); ++i) {
        const double t = double(i % clip.sample_rate) / clip.sample_rate;
        const double wave = t < BEEP_SECONDS ? BEEP_LEVEL * std::sin(2 * std::numbers::pi * BEEP_HZ * t) : 0;
        samples.insert(samples.end(), 2, int16_t(std::lround(wave)));
    }
    return samples;
}

static void fill_formats(const CLIP& clip, SAVE_CONTEXT* context) {
    const int bits = clip.bits ? clip.bits : 16;
    const int row = clip.bits ? (clip.width * bits + 31) / 32 * 4 : (clip.width + 1) / 2 * 4;
    context->media_width = clip.width;
    context->media_height = clip.height;
    BITMAPINFOHEADER& video = context->video_header;
    video.biSize = sizeof video;
    video.biWidth = clip.width;
    video.biHeight = clip.height;
    video.biPlanes = 1;
    video.biBitCount = uint16_t(bits);
    video.biCompression = clip.bits ? 0 : VANTEL_FOURCC('Y', 'U', 'Y', '2');
    video.biSizeImage = uint32_t(row * clip.height);
    context->video_stream.dwRate = uint32_t(clip.rate);
    context->video_stream.dwScale = uint32_t(clip.scale);
    const uint32_t rate = uint32_t(clip.sample_rate);
    context->audio_header = {1, 2, rate, rate * 4, 4, 16, 0};
}

bool clip_write(const CLIP& clip, const std::string& path) {
    const auto context = std::make_unique<SAVE_CONTEXT>();
    fill_formats(clip, context.get());
    const uint32_t usual_limit = avi_writer_settings.part_limit;
    if (clip.part_limit) avi_writer_settings.part_limit = uint32_t(clip.part_limit);
    const uint32_t flags = SAVE_VIDEO | (clip.sample_rate ? uint32_t{SAVE_AUDIO} : 0);
    bool good = avi_open(context.get(), path.c_str(), flags, nullptr, 0) == AVI_OK;
    avi_writer_settings.part_limit = usual_limit;
    std::vector<uint8_t> picture;
    for (int frame = 0; good && frame < clip.frames; ++frame) {
        picture.clear();
        if (clip.bits)
            draw_rgb(clip, frame, &picture);
        else
            draw_yuy2(clip, frame, &picture);
        if (clip.sample_rate) {
            const std::vector<int16_t> sound = draw_sound(clip, frame);
            good = avi_put_audio(context.get(), sound.data(), sound.size() * 2) == AVI_OK;
        }
        good = good && avi_put_frame(context.get(), picture.data(), nullptr) == AVI_OK;
    }
    return avi_close(context.get()) == 1 && good;
}
