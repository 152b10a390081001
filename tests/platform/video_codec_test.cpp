#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "platform/video_codec.h"

using BYTES_LIST = std::vector<std::vector<uint8_t>>;

static BITMAPINFOHEADER picture_format(int width, int height, bool yuy2) {
    BITMAPINFOHEADER format{};
    format.biSize = sizeof format;
    format.biWidth = width;
    format.biHeight = height;
    format.biPlanes = 1;
    format.biBitCount = yuy2 ? 16 : 24;
    format.biCompression = yuy2 ? VANTEL_FOURCC('Y', 'U', 'Y', '2') : 0;
    format.biSizeImage = uint32_t((int64_t{format.biBitCount} * width + 31) / 32 * 4 * height);
    return format;
}

static std::string code_text(uint32_t handler) { return {reinterpret_cast<const char*>(&handler), 4}; }

/// Smooth moving pictures with some texture; row padding stays 0.
static BYTES_LIST moving_pictures(const BITMAPINFOHEADER& format, size_t count) {
    BYTES_LIST pictures(count, std::vector<uint8_t>(format.biSizeImage));
    const size_t height = size_t(format.biHeight), row = format.biSizeImage / height;
    for (size_t n = 0; n < count; ++n)
        for (size_t y = 0; y < height; ++y)
            for (size_t i = 0; i < size_t(format.biWidth * format.biBitCount / 8); ++i) {
                const double wave = std::sin(double(i + n * 4) / 19.0) + std::cos(double(y + n) / 13.0);
                pictures[n][y * row + i] = uint8_t(128 + 40 * wave + double((i * 7 + y * 3) % 5));
            }
    return pictures;
}

static double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) sum += double(a[i] - b[i]) * double(a[i] - b[i]);
    return sum == 0 ? 99 :  // the same bytes
               10 * std::log10(255.0 * 255.0 * double(a.size()) / sum);
}

struct PACKETS {
    std::vector<uint8_t> format;
    BYTES_LIST packets;
    std::vector<bool> keys;
};

/// A key frame is asked for at every tenth picture.
static PACKETS compress(uint32_t handler, const BITMAPINFOHEADER& format, const BYTES_LIST& pictures,
                        VIDEO_ENCODER_RATE rate) {
    PACKETS result;
    const VIDEO_ENCODER_PTR encoder = video_encoder_open(handler);
    if (!encoder || !video_encoder_accepts(encoder.get(), format)) return result;
    result.format = video_encoder_format(encoder.get(), format, rate);
    EXPECT_TRUE(video_encoder_begin(encoder.get(), format, rate)) << code_text(handler);
    std::vector<uint8_t> out(video_encoder_bound(format));
    for (size_t i = 0; i < pictures.size(); ++i) {
        bool key = i % 10 == 0;
        const int64_t size = video_encoder_frame(encoder.get(), pictures[i].data(), &key, out);
        if (size < 0) break;
        result.packets.emplace_back(out.begin(), out.begin() + size);
        result.keys.push_back(key);
    }
    return result;
}

static BYTES_LIST decompress(uint32_t handler, const PACKETS& stored, const BITMAPINFOHEADER& output) {
    BYTES_LIST pictures;
    const VIDEO_DECODER_PTR decoder = video_decoder_open(handler, stored.format, stored.packets.front());
    if (!decoder || !video_decoder_offers(decoder.get(), output)) return pictures;
    EXPECT_FALSE(video_decoder_reorders(decoder.get())) << code_text(handler);
    EXPECT_TRUE(video_decoder_begin(decoder.get(), output)) << code_text(handler);
    std::vector<uint8_t> picture(output.biSizeImage);
    for (size_t i = 0; i < stored.packets.size(); ++i) {
        if (!video_decoder_frame(decoder.get(), stored.packets[i], stored.keys[i], picture.data())) break;
        pictures.push_back(picture);
    }
    return pictures;
}

static bool lossless(const VIDEO_CODEC_INFO& info, bool yuy2) {
    if (info.has_quality) return false;
    const std::string code = code_text(info.handler);
    const bool keeps_422 = code != "ULY0" && code != "ULH0" && code != "ULY4" && code != "ULH4";
    const bool keeps_rgb = code.substr(0, 3) != "ULY" && code.substr(0, 3) != "ULH";
    return yuy2 ? keeps_422 : keeps_rgb;
}

TEST(VideoCodec, EachCompressorAnswersAtOnceAndKeepsThePicture) {
    int compressors = 0;
    for (int i = 0; i < video_codec_count(); ++i) {
        const VIDEO_CODEC_INFO& info = video_codec_info(i);
        if (!info.compresses) continue;
        ++compressors;
        for (const bool yuy2 : {false, true}) {
            const bool exact = lossless(info, yuy2);
            const BITMAPINFOHEADER format = picture_format(exact ? 98 : 96, exact ? 62 : 64, yuy2);
            const BYTES_LIST film = moving_pictures(format, 25);
            const PACKETS stored = compress(info.handler, format, film, {30, 1, 9000, 0, 0});
            SCOPED_TRACE(info.name + std::string(yuy2 ? " YUY2" : " RGB"));
            if (yuy2 && info.rgb_only) {
                EXPECT_TRUE(stored.packets.empty());
                continue;
            }
            ASSERT_EQ(stored.packets.size(), 25u);
            for (size_t n = 0; n < 25 && info.temporal; ++n)
                EXPECT_TRUE(stored.keys[n] == (n % 10 == 0) || (stored.keys[n] && code_text(info.handler) == "cvid"))
                    << "frame " << n;
            const BYTES_LIST pictures = decompress(info.handler, stored, format);
            ASSERT_EQ(pictures.size(), 25u);
            for (size_t n = 0; n < 25; ++n) EXPECT_GT(psnr(pictures[n], film[n]), exact ? 98 : 24) << "frame " << n;
        }
    }
    EXPECT_GE(compressors, 20);
}

// Flat patches through every lossy codec and back: no shift of brightness or hue, neither from YUY2 nor from RGB.
TEST(VideoCodec, LossyCodecsShiftNoColour) {
    static const uint8_t COLOURS[][3] = {{40, 110, 240},  {200, 40, 120}, {90, 200, 60},  {128, 128, 128},
                                         {235, 235, 235}, {16, 16, 16},   {60, 160, 160}, {170, 90, 90}};
    for (int i = 0; i < video_codec_count() * 2; ++i) {
        const VIDEO_CODEC_INFO& info = video_codec_info(i / 2);
        const bool yuy2 = i % 2;
        if (!info.compresses || !info.has_quality || info.rgb_only) continue;
        SCOPED_TRACE(info.name + std::string(yuy2 ? " YUY2" : " RGB"));
        const BITMAPINFOHEADER format = picture_format(64, 64, yuy2);
        const size_t period = yuy2 ? 4 : 3;
        double sum = 0;
        for (const auto& colour : COLOURS) {
            std::vector<uint8_t> picture(format.biSizeImage);
            for (size_t at = 0; at < picture.size(); ++at)
                picture[at] = !yuy2         ? colour[at % 3]
                              : at % 2 == 0 ? uint8_t(16 + colour[0] * 219 / 255)
                                            : uint8_t(16 + colour[at % 4 / 2 + 1] * 224 / 255);
            const PACKETS stored = compress(info.handler, format, {picture}, {30, 1, 10000, 0, 0});
            ASSERT_EQ(stored.packets.size(), 1u);
            const BYTES_LIST back = decompress(info.handler, stored, format);
            ASSERT_EQ(back.size(), 1u);
            double errors[4] = {};
            for (size_t at = 0; at < picture.size() / period * period; ++at)
                errors[at % period] += back[0][at] - picture[at];
            for (const double error : errors) sum += std::abs(error) / double(picture.size());
        }
        EXPECT_LT(sum / double(std::size(COLOURS)), 1);
    }
}

TEST(VideoCodec, RatesDecideTheSize) {
    const BITMAPINFOHEADER format = picture_format(160, 128, true);
    const BYTES_LIST film = moving_pictures(format, 40);
    const auto bytes = [&](uint32_t handler, VIDEO_ENCODER_RATE rate) {
        size_t sum = 0;
        for (const auto& packet : compress(handler, format, film, rate).packets) sum += packet.size();
        return sum;
    };
    for (const char* code : {"XVID", "H264", "MJPG", "VP80"}) {
        const uint32_t handler = VANTEL_FOURCC(code[0], code[1], code[2], code[3]);
        EXPECT_LT(bytes(handler, {30, 1, 3000, 0, 0}), bytes(handler, {30, 1, 9500, 0, 0})) << code;
        EXPECT_LT(bytes(handler, {40, 1, 9500, 120 * 1024, 0}), size_t{180 * 1024}) << code << ": a second at 120 KB/s";
    }
}

TEST(VideoCodec, StateIsVersionedTextOfItsCodec) {
    const VIDEO_ENCODER_PTR encoder = video_encoder_open(VANTEL_FOURCC('h', '2', '6', '4'));
    ASSERT_NE(encoder, nullptr) << "codes compare without regard to case";
    const std::string by_default = "vantel codec 1 H264\npreset=veryfast\nsubsampling=4:2:0\n",
                      chosen = "vantel codec 1 H264\npreset=slow\nsubsampling=4:4:4\n";
    EXPECT_EQ(video_encoder_state(encoder.get()), by_default);
    EXPECT_TRUE(video_encoder_set_state(encoder.get(), chosen + "new=1\npreset=bad\n"));
    for (const char* foreign : {"vantel codec 2 H264\n", "vantel codec 1 H2640\n", "vantel codec 1 XVID\n", "x"})
        EXPECT_FALSE(video_encoder_set_state(encoder.get(), foreign)) << foreign;
    EXPECT_EQ(video_encoder_state(encoder.get()), chosen);
    EXPECT_TRUE(video_encoder_set_state(encoder.get(), ""));
    EXPECT_EQ(video_encoder_state(encoder.get()), by_default);
}

static std::vector<uint8_t> stored_format(uint32_t handler, int width, int height) {
    BITMAPINFOHEADER header = picture_format(width, height, false);
    header.biCompression = handler;
    std::vector<uint8_t> format(sizeof header);
    std::memcpy(format.data(), &header, sizeof header);
    return format;
}

TEST(VideoCodec, HostileFormatsAndPacketsAreRefused) {
    const BITMAPINFOHEADER output = picture_format(64, 48, false);
    for (int i = 0; i < video_codec_count(); ++i) {
        const uint32_t handler = video_codec_info(i).handler;
        for (const auto& [width, height] : {std::pair{0, 48}, {64, 0}, {-64, 48}, {1 << 30, 1 << 30}, {64, INT32_MIN}})
            EXPECT_FALSE(video_decoder_open(handler, stored_format(handler, width, height), {})) << code_text(handler);
        std::vector<uint8_t> format = stored_format(handler, 64, 48), noise(777), picture(output.biSizeImage);
        format.resize(43, 0xA5);
        for (size_t n = 0; n < noise.size(); ++n) noise[n] = uint8_t(n * n * 31 + size_t(i));
        const VIDEO_DECODER_PTR decoder = video_decoder_open(handler, format, noise);
        if (decoder && video_decoder_offers(decoder.get(), output) && video_decoder_begin(decoder.get(), output))
            for (const bool key : {true, false}) video_decoder_frame(decoder.get(), noise, key, picture.data());
    }
}
