#include "platform/container.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

#include "support/command.h"

static std::string film(int frames, const char* size = "64x48") {
    return "-f lavfi -i testsrc2=rate=25:size=" + std::string(size) + ":duration=" + std::to_string(frames / 25.0) +
           " ";
}

static std::string tones(const char* seconds) {
    return std::string("-f lavfi -i aevalsrc=0.4*sin(1000*t*(1+t))|0.3*sin(700*t+t*t*90):s=48000:d=") + seconds + " ";
}

struct Container : testing::Test {
    TEMP_FOLDER_PATH folder;

    std::string make(const char* name, const std::string& arguments) {
        ffmpeg_make(arguments + " " + (folder / name));
        return folder / name;
    }
    /// What ffmpeg decodes, every stored picture once.
    std::string pictures(const std::string& path, const std::string& format, const std::string& more = "") {
        return file_bytes(make("reference.raw", "-i " + path + " " + more +
                                                    " -map 0:v:0 -vsync passthrough -f rawvideo -pix_fmt " + format));
    }
};

static CONTAINER_PTR open(const std::string& path, const CONTAINER_OPTIONS& options = {}) {
    return container_open(path.c_str(), options);
}

static std::string picture(const CONTAINER_PTR& c, int64_t n) {
    std::string bytes(container_picture_size(c.get()), 'x');
    EXPECT_TRUE(container_read_picture(c.get(), n, reinterpret_cast<uint8_t*>(bytes.data()))) << n;
    return bytes;
}

static std::vector<std::string> all_pictures(const CONTAINER_PTR& c) {
    std::vector<std::string> all;
    for (int64_t n = 0; n < container_info(c.get()).frames; ++n) all.push_back(picture(c, n));
    return all;
}

static std::string luma(const std::string& yuy2) {
    std::string y;
    for (size_t i = 0; i < yuy2.size(); i += 2) y += yuy2[i];
    return y;
}

static std::string samples(const CONTAINER_PTR& c, int64_t start, int64_t count) {
    std::string bytes(size_t(count * container_info(c.get()).channels * 2), 'x');
    EXPECT_EQ(container_read_sound(c.get(), start, count, reinterpret_cast<int16_t*>(bytes.data())), count);
    return bytes;
}

static const struct {
    const char *name, *options;
    bool by_time = false;  // the encoder leaves pictures out
} FILMS[] = {
    {"h264.mp4", "-c:v libx264 -g 250 -bf 3"},
    {"fragments.mp4", "-c:v libx264 -g 20 -movflags frag_keyframe+empty_moov"},
    {"open.mkv", "-c:v libx264 -x264-params open-gop=1:keyint=20:bframes=3"},
    {"open.ts", "-c:v libx264 -x264-params open-gop=1:keyint=20:bframes=3"},
    {"refresh.ts", "-c:v libx264 -x264-params intra-refresh=1:keyint=12:bframes=0"},
    {"h264.h264", "-c:v libx264 -g 25 -bf 2"},
    {"h265.mkv", "-c:v libx265 -x265-params log-level=none:keyint=25"},
    {"mpeg2.ts", "-c:v mpeg2video -g 12 -bf 2 -q:v 4"},
    {"vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 30"},
    {"vp8.webm", "-c:v libvpx -auto-alt-ref 1 -lag-in-frames 16 -g 30 -b:v 300k"},
    {"packed.avi", "-vf noise=alls=20:allf=t -c:v libxvid -bf 2 -g 30 -q:v 4", true},
    {"theora.ogv", "-c:v libtheora -g 30 -q:v 6", true},
    {"wmv2.wmv", "-c:v wmv2 -g 30 -q:v 4"},
    {"mjpeg.mov", "-c:v mjpeg -q:v 4 -color_range tv -strict -1 -pix_fmt yuv422p"},
};

TEST_F(Container, PicturesByNumberAreThoseOfSequentialReading) {
    for (const auto& c : FILMS) {
        SCOPED_TRACE(c.name);
        const std::string path = make(c.name, film(64) + "-pix_fmt yuv420p " + c.options);
        const CONTAINER_PTR first = open(path, {.threads = 2}), second = open(path);
        ASSERT_TRUE(first && second);
        const CONTAINER_INFO& info = container_info(first.get());
        ASSERT_TRUE(info.has_picture && !info.is_rgb && !info.has_sound);
        EXPECT_EQ(int64_t{info.rate}, int64_t{info.scale} * 25);
        const std::vector<std::string> all = all_pictures(first);
        EXPECT_EQ(container_seeks(first.get()), 0);
        // Against ffmpeg's planes of 4:2:2; luma passes unchanged.
        const std::string raw = pictures(path, "yuv422p");
        const size_t size = size_t{64} * 48;
        std::vector<std::string> got, want;
        for (const std::string& p : all) got.push_back(luma(p));
        for (size_t at = 0; at + size * 2 <= raw.size(); at += size * 2) want.push_back(raw.substr(at, size));
        for (auto* list : {&got, &want})
            if (c.by_time) list->erase(std::unique(list->begin(), list->end()), list->end());
        ASSERT_EQ(got.size(), want.size());
        for (size_t n = 0; n < got.size(); ++n) ASSERT_TRUE(got[n] == want[n]) << "frame " << n;
        std::minstd_rand random(7);
        for (int i = 0; i < 50; ++i) {
            const int64_t n = i < 3 ? info.frames - 1 - i * 20 : int64_t(random() % uint64_t(info.frames));
            ASSERT_TRUE(picture(second, n) == all[size_t(n)]) << "frame " << n << " as number " << i;
        }
    }
}

static const struct {
    const char *name, *options;
    bool length_known = true;  // ffmpeg plays the padding behind AAC
} SOUNDS[] = {
    {"pcm24.mov", "-c:a pcm_s24le"}, {"sound.flac", "-c:a flac"}, {"sound.mp3", "-c:a libmp3lame"},
    {"aac.m4a", "-c:a aac", false},  {"aac.ts", "-c:a aac"},      {"vorbis.ogg", "-c:a libvorbis"},
    {"opus.webm", "-c:a libopus"},   {"wma.wma", "-c:a wmav2"},   {"mp2.mpg", "-c:a mp2 -f vob"},
};

TEST_F(Container, SamplesByNumberAreThoseOfSequentialReading) {
    const std::string source = make("tones.wav", tones("10.2"));
    for (const auto& c : SOUNDS) {
        SCOPED_TRACE(c.name);
        const std::string path = make(c.name, "-i " + source + " " + c.options),
                          want = file_bytes(make("reference.pcm", "-i " + path + " -map 0:a:0 -f s16le"));
        const CONTAINER_PTR first = open(path), second = open(path);
        ASSERT_TRUE(first && second);
        const CONTAINER_INFO& info = container_info(first.get());
        ASSERT_TRUE(info.has_sound && !info.has_picture && info.channels == 2 && info.sound_rate == 48000);
        EXPECT_EQ(info.samples, c.length_known ? int64_t(want.size() / 4) : 489600);
        std::string all;
        for (int64_t at = 0; at < info.samples; at += 1601)
            all += samples(first, at, std::min<int64_t>(1601, info.samples - at));
        // Behind the first stretch a decoder's own noise is of another seed.
        EXPECT_TRUE(all.compare(0, 240000 * 4, want, 0, 240000 * 4) == 0);
        for (const int64_t at : {int64_t{482000}, int64_t{0}, int64_t{239990}, int64_t{480001}, info.samples - 9}) {
            const int64_t n = std::min<int64_t>(2000, info.samples - at);
            EXPECT_TRUE(samples(second, at, n) == all.substr(size_t(at) * 4, size_t(n) * 4)) << at;
        }
    }
}

TEST_F(Container, VariableRateBecomesConstantByTime) {
    const std::string whole = make("whole.mkv", film(80) + "-c:v ffvhuff -pix_fmt yuv422p");
    const std::string path =
        make("holes.mkv", "-i " + whole + " " + tones("3.2") + R"(-vf select=lt(n\,45)+not(mod(n\,7)) -vsync vfr)" +
                              " -c:v ffvhuff -pix_fmt yuv422p -c:a pcm_s16le");
    const std::vector<std::string> source = all_pictures(open(whole));
    const CONTAINER_PTR c = open(path);
    const CONTAINER_INFO& info = container_info(c.get());
    EXPECT_EQ(info.rate, info.scale * 25);
    EXPECT_TRUE(info.frames >= 78 && info.frames <= 80);  // the last stored picture is number 77
    EXPECT_EQ(info.samples, 153600);
    for (const int64_t n : {77, 76, 0, 44, 48, 49, 50, 69, 70}) {
        const int64_t shown = n < 45 ? n : std::max<int64_t>(44, n - n % 7);
        EXPECT_TRUE(picture(c, n) == source[size_t(shown)]) << n;
    }
}

static int64_t silence_in_front(const CONTAINER_PTR& c) {
    const std::string bytes = samples(c, 0, container_info(c.get()).samples);
    return int64_t(bytes.find_first_not_of('\0')) / 4;
}

TEST_F(Container, SoundAndPictureStartTogether) {
    const std::string film_path = make("film.mkv", film(50) + "-c:v libx264 -bf 2");
    const std::string level = make("level.wav", "-f lavfi -i aevalsrc=0.4|0.4:s=48000:d=2");
    for (const std::string kind : {"mp4", "mkv", "ts"}) {
        SCOPED_TRACE(kind);
        const auto joined = [&](const std::string& picture_at, const std::string& sound_at) {
            return open(make(("joined." + kind).c_str(), "-itsoffset " + picture_at + " -i " + film_path +
                                                             " -itsoffset " + sound_at + " -i " + level +
                                                             " -c:v copy -c:a aac"));
        };
        const CONTAINER_PTR together = joined("0", "0"), late_picture = joined("1", "0");
        const int64_t frames = container_info(late_picture.get()).frames;
        EXPECT_LT(silence_in_front(together), 1100);
        EXPECT_EQ(container_info(together.get()).frames, 50);
        EXPECT_NEAR(double(silence_in_front(joined("0", "0.5"))), 24000, 1100);  // the edge of AAC is soft
        EXPECT_NEAR(double(frames), 75, 1);
        EXPECT_LT(silence_in_front(late_picture), 2100);
        EXPECT_TRUE(picture(late_picture, 23) == picture(together, 0));
        EXPECT_TRUE(picture(late_picture, frames - 1) == picture(together, 49));
    }
}

TEST_F(Container, EditListsAndTurnsAreFollowed) {
    const std::string whole = make("whole.mp4", film(50) + "-c:v libx264 -g 30");
    const std::vector<std::string> source = all_pictures(open(whole)),
                                   kept = all_pictures(open(make("cut.mp4", "-ss 0.4 -i " + whole + " -c copy")));
    ASSERT_EQ(kept.size(), 40u);
    EXPECT_TRUE(kept[0] == source[10] && kept[39] == source[49]);
    for (const std::string angle : {"90", "180", "270"}) {
        const std::string path = make("turned.mp4", "-i " + whole + " -c copy -metadata:s:v rotate=" + angle);
        const CONTAINER_PTR c = open(path);
        EXPECT_EQ(container_info(c.get()).width, angle == "180" ? 64 : 48);
        EXPECT_TRUE(luma(picture(c, 0)) == pictures(path, "yuv420p").substr(0, 64 * 48)) << angle;
    }
}

static const struct {
    const char *format, *size, *more;  // as stored, and for the encoder
    const char* filter;                // what ffmpeg does for the same result
    double floor;                      // dB
} CONVERTS[] = {
    {"yuv422p", "64:48", "", "null", 99},
    {"yuv420p", "64:48", "", "null", 45},
    {"yuv420p", "63:47", "", "null", 42},
    {"yuv420p", "64:48", "-flags +ildct -field_order tt", "scale=interl=1", 42},
    {"yuv444p", "64:48", "", "scale=in_h_chr_pos=0:out_h_chr_pos=0", 42},
    {"yuv410p", "64:48", "", "scale=in_h_chr_pos=0:out_h_chr_pos=0", 38},
    {"yuv422p10le", "64:48", "", "null", 48},
    {"yuv422p", "64:48", "-color_range pc", "scale=in_range=full:out_range=limited", 48},
    {"gray", "64:48", "", "scale=in_range=full:out_range=limited", 48},
};

static double psnr(const std::string& a, const std::string& b) {
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) sum += std::pow(double(uint8_t(a[i])) - double(uint8_t(b[i])), 2);
    return sum == 0 ? 99 : 10 * std::log10(65025 * double(a.size()) / sum);
}

/// Planes of 4:2:2 as YUY2.
static std::string packed(const std::string& planes, int width, int height) {
    const size_t w = size_t(width), pairs = (w + 1) / 2, luma = w * size_t(height), chroma = pairs * size_t(height);
    std::string out;
    for (size_t i = 0; i < chroma; ++i) {
        const size_t row = i / pairs * w, x = i % pairs * 2;
        out += {planes[row + x], planes[luma + i], planes[row + std::min(x + 1, w - 1)], planes[luma + chroma + i]};
    }
    return out;
}

// The source is soft, so that the two differ by where samples lie and not by the taste of a filter.
TEST_F(Container, ConversionIsNearThatOfFfmpeg) {
    for (const auto& c : CONVERTS) {
        SCOPED_TRACE(c.format);
        const std::string path = make("stored.mkv", film(2) + "-vf gblur=sigma=2,scale=" + c.size +
                                                        " -c:v ffv1 -pix_fmt " + c.format + " " + c.more);
        const CONTAINER_PTR file = open(path);
        ASSERT_TRUE(file && !container_info(file.get()).is_rgb);
        const std::string got = picture(file, 1);
        const std::string raw =
            pictures(path, "yuv422p", std::string("-sws_flags bicubic+accurate_rnd -vf ") + c.filter);
        const CONTAINER_INFO& info = container_info(file.get());
        const std::string want = packed(raw.substr(raw.size() / 2), info.width, info.height);
        ASSERT_EQ(want.size(), got.size());
        EXPECT_GE(psnr(got, want), c.floor) << c.size << " " << c.filter;
    }
}

TEST_F(Container, TheSameColoursOfBothMatricesComeOutTheSame) {
    const auto bars = [&](const std::string& matrix, const std::string& told) {
        const std::string filter = "-vf format=gbrp,scale=out_color_matrix=" + matrix + ",format=yuv444p ",
                          source = "-f lavfi -i smptebars=size=64x48:rate=25 -frames:v 1 ";
        return picture(open(make("bars.mkv", source + filter + "-c:v ffv1 -colorspace " + told)), 0);
    };
    EXPECT_GE(psnr(bars("bt709", "bt709"), bars("bt601", "smpte170m")), 45);
}

TEST_F(Container, RgbStaysExact) {
    for (const std::string format : {"bgr24", "rgb24", "gbrp", "bgra", "pal8", "rgb565le"}) {
        const std::string path = make(format == "pal8" ? "rgb.avi" : "rgb.nut",
                                      film(2) + "-vf scale=63:47 -c:v rawvideo -pix_fmt " + format);
        const CONTAINER_PTR c = open(path);
        ASSERT_TRUE(c && container_info(c.get()).is_rgb) << format;
        const std::string got = picture(c, 1), want = pictures(path, "bgr24", "-sws_dither none");
        for (size_t y = 0; y < 47; ++y)
            ASSERT_TRUE(got.substr((46 - y) * 192, 189) == want.substr((47 + y) * 189, 189)) << format << " row " << y;
    }
}

TEST_F(Container, IndexFilesAreCheckedAndNeverTrusted) {
    const std::string path = make("film.ts", tones("1.2") + film(30) + "-c:v libx264 -c:a mp2");
    const CONTAINER_OPTIONS options = {.index_folder = folder / "index/"};
    const std::vector<std::string> want = all_pictures(open(path, options));
    const std::string index_path = std::filesystem::directory_iterator(options.index_folder)->path();
    const std::string index = file_bytes(index_path);
    ASSERT_GT(index.size(), 500u);
    EXPECT_TRUE(all_pictures(open(path, options)) == want);
    const auto opens_right = [&](const std::string& bytes) {
        file_put_bytes(index_path, bytes);
        const CONTAINER_PTR c = open(path, options);
        return c && container_info(c.get()).frames == 30 && picture(c, 17) == want[17] && picture(c, 3) == want[3] &&
               container_info(c.get()).has_sound;
    };
    for (size_t at = 0; at < index.size(); at += 97) {
        std::string bytes = index;
        bytes[at] = char(bytes[at] ^ 0x55);
        ASSERT_TRUE(opens_right(bytes)) << at;
        ASSERT_TRUE(opens_right(index.substr(0, at))) << at;
    }
    file_put_bytes(index_path, index);
    make("film.ts", film(20) + "-c:v libx264");  // another file of the name
    EXPECT_EQ(container_info(open(path, options).get()).frames, 20);
}

TEST_F(Container, DamagedFilesAreRefusedOrShowWhatTheyHave) {
    const std::string whole = make("whole.mp4", tones("2") + film(50) + "-c:v libx264 -g 10 -movflags +faststart");
    const std::string bytes = file_bytes(whole), bad = folder / "bad.mp4", want = picture(open(whole), 0);
    // Everything that a file holds is read; its first picture, when it has one.
    const auto first_of = [&](const std::string& damaged) -> std::string {
        file_put_bytes(bad, damaged);
        const CONTAINER_PTR c = open(bad);
        if (c && container_info(c.get()).has_sound)
            samples(c, 0, std::min<int64_t>(container_info(c.get()).samples, 100000));
        if (!c || !container_info(c.get()).has_picture) return "";
        picture(c, container_info(c.get()).frames - 1);
        return all_pictures(c).at(0);
    };
    std::minstd_rand random(3);
    for (size_t n = 1; n < bytes.size(); n += bytes.size() / 23) {
        const std::string first = first_of(bytes.substr(0, n));
        EXPECT_TRUE(first.empty() || first == want) << n;
        std::string noise = bytes, garbage(n, '\0');  // holes in the packets; and nothing but noise
        for (size_t i = 0; i < 40; ++i) noise[bytes.size() / 4 + random() % (bytes.size() * 3 / 4)] = char(random());
        for (char& byte : garbage) byte = char(random() >> 7);
        for (const std::string& damaged : {noise, garbage}) first_of(damaged);
    }
    EXPECT_FALSE(open(folder / "missing.mp4"));
}

TEST_F(Container, PicturesOfAnotherSizeAndLimits) {
    const std::string small = make("small.ts", film(10) + "-c:v mpeg2video"),
                      large = make("large.ts", film(10, "128x96") + "-c:v mpeg2video");
    file_put_bytes(folder / "both.ts", file_bytes(small) + file_bytes(large));
    const CONTAINER_PTR both = open(folder / "both.ts");
    ASSERT_TRUE(both);
    EXPECT_EQ(container_info(both.get()).width, 64);
    EXPECT_EQ(container_info(both.get()).frames, 20);
    const std::string alone = pictures(large, "yuyv422", "-vf scale=64:48:sws_flags=bicubic");
    EXPECT_GE(psnr(picture(both, 19), alone.substr(size_t{9} * 6144, 6144)), 30);
    if (const CONTAINER_PTR limited = open(large, {.max_width = 100, .max_height = 100})) {
        EXPECT_EQ(container_info(limited.get()).width, 128);
        std::string buffer(container_picture_size(limited.get()), 'x');
        EXPECT_FALSE(container_read_picture(limited.get(), 0, reinterpret_cast<uint8_t*>(buffer.data())));
    }
}

TEST_F(Container, PlaylistsAndStoppedListingsAreRefused) {
    const std::string small = make("small.ts", film(10) + "-c:v mpeg2video");
    const std::pair<const char*, std::string> lists[] = {
        {"list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + small + "\n#EXT-X-ENDLIST\n"},
        {"list.ffconcat", "ffconcat version 1.0\nfile small.ts\n"},
        {"words.txt", std::string(5000, 'a')}};
    for (const auto& [name, text] : lists) {
        file_put_bytes(folder / name, text);
        EXPECT_FALSE(open(folder / name)) << name;
    }
    CONTAINER_OPTIONS stopped;
    stopped.progress = [](double, void*) { return true; };
    EXPECT_FALSE(open(make("long.ts", tones("60") + "-c:a mp2"), stopped));
}
