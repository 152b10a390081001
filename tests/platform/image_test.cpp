#include "platform/image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/command.h"
#include "support/picture_builder.h"

/// What ffmpeg makes of a picture in a format of its own, rows from the top.
static BYTES ffmpeg_decode(const std::string& path, const char* format) {
    const COMMAND_OUTPUT raw = ffmpeg_run(
        "-i " + path + " -frames:v 1 -sws_flags accurate_rnd+full_chroma_int -f rawvideo -pix_fmt " + format + " -");
    EXPECT_EQ(raw.status, 0) << raw.error;
    return {raw.text.begin(), raw.text.end()};
}

static BYTES rows_turned(const BYTES& picture, size_t height) {
    const size_t row = picture.size() / height;
    BYTES out;
    for (size_t y = height; y-- > 0;) out.insert(out.end(), picture.data() + y * row, picture.data() + y * row + row);
    return out;
}

static BYTES image_of(const BYTES& file, int32_t width, int32_t height, IMAGE_RESULT want = IMAGE_WHOLE) {
    BYTES out(size_t(width) * size_t(height) * 4, 0xEE);
    EXPECT_EQ(image_read(file, width, height, out.data()), want);
    return out;
}

static int difference_max(const BYTES& a, const BYTES& b) {
    if (a.size() != b.size()) return 1000;
    int most = 0;
    for (size_t i = 0; i < a.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

/// B, G, R, A of 8 bits out of 16-bit samples, highest byte first. channels: where each stands, '-' = 255.
static BYTES rounded(const BYTES& words, const char* channels) {
    const size_t n = size_t(*std::max_element(channels, channels + 4) - '0') + 1;
    BYTES out;
    for (size_t i = 0; i + n * 2 <= words.size(); i += n * 2) {
        for (int k = 0; k < 4; ++k) {
            const size_t at = i + size_t(channels[k] - '0') * 2;
            out.push_back(uint8_t(channels[k] == '-' ? 255 : ((words[at] << 8 | words[at + 1]) * 255 + 32767) / 65535));
        }
    }
    return out;
}

TEST(Image, PngOfAllKindsIsWhatFfmpegReads) {
    struct CASE {
        int depth, color;
        const char *format = "bgra", *channels = "";  // format: of ffmpeg, for the same samples
        BYTES transparency = {};
    };
    std::vector<CASE> cases = {{16, 0, "gray16be", "000-"},        {16, 4, "ya16be", "0001"},
                               {16, 2, "rgb48be", "210-"},         {16, 6, "rgba64be", "2103"},
                               {2, 3, "bgra", "", {0, 99, 128}},   {4, 3, "bgra", "", {10, 255}},
                               {8, 3, "bgra", "", {1, 2, 3, 4, 5}}};
    for (const auto& [depth, color] : {std::pair{1, 0}, {2, 0}, {4, 0}, {8, 0}, {1, 3}, {8, 2}, {8, 4}, {8, 6}})
        cases.push_back({depth, color});
    for (const CASE& c : cases) {
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.depth << " bits, kind " << c.color << ", interlaced " << interlaced);
            PNG_BUILD build = {37, 21, c.depth, c.color, interlaced, {}, c.transparency};
            if (c.color == 3) build.palette = bytes_pattern(size_t{3} << c.depth, 5);
            const BYTES file = png_build(build);
            const TEMP_FILE on_disk(file, ".png");
            BYTES want = ffmpeg_decode(on_disk.path, c.format);
            if (*c.channels) want = rounded(want, c.channels);
            EXPECT_EQ(difference_max(image_of(file, 37, 21), rows_turned(want, 21)), 0);
        }
    }
}

TEST(Image, PngColourKeyIsTransparent) {
    // Grey of 16 bits, where rounding would make two values one: only the very value is the key.
    for (const int key : {0, 1}) {
        PNG_BUILD build = {.width = 2, .depth = 16, .color = 0};
        BYTES file = png_build(build);
        const size_t data = bytes_find(file, "IDAT") + 4 + 7 + 1;
        const BYTES words = {file[data], file[data + 1], file[data + 2], file[data + 3]};
        build.transparency = {words[0], uint8_t(words[1] + key)};
        const BYTES picture = image_of(png_build(build), 2, 1);
        EXPECT_EQ(picture[3], key ? 255 : 0);
        EXPECT_EQ(picture[7], 255);
        EXPECT_EQ(picture[0], rounded(words, "000-")[0]);
    }
}

TEST(Image, OfALargerPictureTheTopLeftIsTaken) {
    for (const bool interlaced : {false, true}) {
        const BYTES file = png_build({.width = 9, .height = 7, .interlaced = interlaced});
        const BYTES whole = image_of(file, 9, 7), part = image_of(file, 4, 3);
        for (size_t y = 0; y < 3; ++y) EXPECT_EQ(std::memcmp(&part[y * 16], &whole[(y + 4) * 36], 16), 0) << y;
        for (const int width : {0, -1, 10}) {
            uint8_t untouched = 0xEE;
            EXPECT_EQ(image_read(file, width, 7, &untouched), IMAGE_FAILED);
            EXPECT_EQ(untouched, 0xEE);
        }
    }
    const BYTES jpeg = jpeg_build({.width = 20, .height = 12, .value = {77}});
    EXPECT_EQ(image_of(jpeg, 5, 12), image_of(jpeg_build({.width = 5, .height = 12, .value = {77}}), 5, 12));
}

// A step of a sample is up to 1.8 of a colour. Halved colour is brought back in two ways, which agree where it changes
// slowly.
TEST(Image, JpegFilesAreWhatFfmpegReads) {
    struct CASE {
        const char* source;
        int w, h, difference;
    };
    for (const CASE& c : {CASE{"testsrc2=s=96x80,crop=83:61:exact=1 -pix_fmt yuvj444p", 83, 61, 3},
                          {"gradients=s=84x62:c0=red:c1=blue:x0=0:y0=0:x1=83:y1=61 -pix_fmt yuvj420p", 84, 62, 5}}) {
        const TEMP_FILE file(BYTES{}, ".jpg");
        ffmpeg_make("-f lavfi -i " + std::string(c.source) + " -frames:v 1 -q:v 2 " + file.path);
        int32_t w = 0, h = 0;
        ASSERT_TRUE(image_file_size(file.name(), &w, &h) && w == c.w && h == c.h);
        BYTES got(size_t(w * h * 4));
        EXPECT_EQ(image_file_read(file.name(), w, h, got.data()), IMAGE_WHOLE);
        EXPECT_LE(difference_max(got, rows_turned(ffmpeg_decode(file.path, "bgra"), size_t(h))), c.difference) << w;
    }
    EXPECT_EQ(image_file_read("/nowhere.png", 3, 2, nullptr), IMAGE_FAILED);
}

TEST(Image, JpegColoursBecomeRgb) {
    struct CASE {
        JPEG_BUILD build;
        BYTES pixel;
    };
    const CASE cases[] = {
        {{.value = {130}}, {130, 130, 130, 255}},
        {{.frame = 0xC2, .value = {130}, .empty_scans = 3}, {130, 130, 130, 255}},
        {{.adobe = 0, .value = {10, 20, 30}}, {30, 20, 10, 255}},          // R, G, B
        {{.value = {100, 128, 228}}, {100, 29, 240, 255}},                 // Y, Cb, Cr
        {{.value = {55, 155, 205, 51}}, {40, 80, 160, 255}},               // inks
        {{.adobe = 0, .value = {200, 100, 50, 204}}, {40, 80, 160, 255}},  // inks, inverted
        {{.adobe = 2, .value = {155, 128, 28, 204}}, {80, 23, 192, 255}},  // R, G, B of 15, 226, 155 and black ink
    };
    for (const CASE& c : cases) {
        const BYTES got = image_of(jpeg_build(c.build), 8, 8), pixel(got.begin(), got.begin() + 4);
        EXPECT_LE(difference_max(pixel, c.pixel), 1) << testing::PrintToString(pixel);
        for (size_t i = 4; i < got.size(); ++i) ASSERT_EQ(got[i], got[i - 4]);
    }
    EXPECT_EQ(image_of(jpeg_build({.value = {1, 2}}), 8, 8, IMAGE_FAILED)[0], 0xEE);
}

static bool size_is_told(const BYTES& file) {
    int32_t width = 0, height = 0;
    const bool told = image_size(file, &width, &height);
    EXPECT_EQ(told, width > 0 && height > 0);
    return told;
}

TEST(Image, SizesThatTheFileCannotHoldAreRefused) {
    const BYTES head = png_build({.width = 65500, .height = 65500, .rows_held = 10});
    EXPECT_FALSE(size_is_told(head));
    EXPECT_FALSE(size_is_told(png_build({.width = 16000, .height = 16000, .rows_held = 100000})));
    EXPECT_TRUE(size_is_told(png_build({.width = 5000, .height = 5000, .rows_held = 100000})));
    for (const auto& [width, height] : {std::pair{0, 8}, {8, 0}, {65501, 1}, {0x7FFFFFFF, 1}, {-1, 1}})
        EXPECT_FALSE(size_is_told(png_build({.width = width, .height = height, .rows_held = 100000}))) << width;
    BYTES jpeg = jpeg_build({.value = {1}});
    const BYTES marker = {0xFF, 0xC0};
    const size_t frame = size_t(std::search(jpeg.begin(), jpeg.end(), marker.begin(), marker.end()) - jpeg.begin());
    for (const int side : {0, 65500}) {
        for (const size_t at : {frame + 5, frame + 7}) bytes_put_u16(jpeg, at, uint16_t(side >> 8 | side << 8));
        EXPECT_FALSE(size_is_told(jpeg)) << side;
    }
    for (const BYTES& none :
         {BYTES{}, BYTES{0xFF, 0xD8}, BYTES(100), BYTES{0xFF, 0xD8, 0xFF}, BYTES(head.begin(), head.begin() + 20)})
        EXPECT_FALSE(size_is_told(none));
}

TEST(Image, ScansWithoutEndAreCutOff) {
    JPEG_BUILD build = {.width = 640, .height = 480, .frame = 0xC2, .value = {99}, .empty_scans = 90};
    EXPECT_EQ(image_of(jpeg_build(build), 640, 480)[0], 99);
    build.empty_scans = 101;
    image_of(jpeg_build(build), 640, 480, IMAGE_FAILED);
}

TEST(Image, CutFilesGiveWhatTheyHave) {
    static constexpr size_t ROW = 300 * 4;
    for (const bool interlaced : {false, true}) {
        const BYTES png = png_build({.width = 300, .height = 200, .interlaced = interlaced});
        const BYTES whole = image_of(png, 300, 200);
        const BYTES part = image_of({png.begin(), png.begin() + ptrdiff_t(png.size() / 2)}, 300, 200, IMAGE_DAMAGED);
        // The first pixel comes in the first pass, the lower rows as a whole in the last.
        const size_t at = (interlaced ? 199 : 120) * ROW;
        EXPECT_EQ(std::memcmp(&part[at], &whole[at], interlaced ? 4 : 80 * ROW), 0);
        EXPECT_EQ(BYTES(part.begin(), part.begin() + ROW), BYTES(ROW));
    }
    const BYTES jpeg = jpeg_build({.width = 64, .height = 64, .value = {200}});
    EXPECT_EQ(image_of({jpeg.begin(), jpeg.end() - 20}, 64, 64, IMAGE_DAMAGED)[63 * 256], 200);
    BYTES wrong = png_build({.width = 30, .height = 20});
    wrong[bytes_find(wrong, "IDAT") + 4] ^= 0xFF;  // no packed data
    image_of(wrong, 30, 20, IMAGE_FAILED);
}
