#include "readers/picture_reader.h"

#include "readers/bmp_reader.h"
#include "readers/picture_series.h"
#include "readers/reader_test.h"
#include "support/command.h"
#include "support/picture_builder.h"

using SERIES_PTR = READER_PTR<picture_series_close, picture_series_info>;

static void put(const std::string& path, const BYTES& bytes) { file_put_bytes(path, {bytes.begin(), bytes.end()}); }

struct NameSequence : testing::Test {
    TEMP_FOLDER_PATH folder;
    NAME_SEQUENCE sequence;
    char path[PATH_SIZE];

    std::string next(bool want) {
        EXPECT_EQ(name_sequence_next(&sequence, path), want) << path;
        return path_name(path);
    }
    void start(const std::string& name) { ASSERT_TRUE(name_sequence_start(&sequence, (folder / name).c_str())); }
};

TEST_F(NameSequence, KeepsTheWidthOfTheDigitsAndIsAloneWithoutThem) {
    for (const char* name : {"cut009.bmp", "cut010.bmp", "cut998.bmp", "cut1000.bmp", "a1b.bmp", "a2b.bmp"})
        put(folder / name, {1});
    start("cut009.bmp");
    EXPECT_EQ(next(true), "cut010.bmp");
    EXPECT_EQ(next(false), "cut011.bmp");
    name_sequence_seek(&sequence, 0);
    EXPECT_EQ(next(true), "cut009.bmp");
    name_sequence_seek(&sequence, 991);
    EXPECT_EQ(next(true), "cut1000.bmp");
    start("a1b.bmp");
    next(false);
    name_sequence_seek(&sequence, 0);
    EXPECT_EQ(next(true), "a1b.bmp");
    next(false);
    for (const auto& [first, second] : {std::pair{"9", "10"},
                                        {"a8.9.x", "a8.10.x"},
                                        {"123420240101123456.png", "123420240101123457.png"},
                                        {"99999999999999999998.png", "99999999999999999999.png"}}) {
        put(folder / second, {1});
        start(first);
        EXPECT_EQ(next(true), second);
    }
    std::string longest = std::string(250, '/').append("999.bmpxx");  // 259 bytes
    ASSERT_TRUE(name_sequence_start(&sequence, longest.c_str()));
    EXPECT_EQ(next(false), "");
    EXPECT_FALSE(name_sequence_start(&sequence, longest.append("x").c_str()));
}

TEST(BmpReader, GivesPaletteAndRowsAsTheyStand) {
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        const size_t palette = bits <= 8 ? size_t{4} << bits : 0, size = palette + size_t((bits * 5 + 31) / 32 * 4 * 3);
        const BYTES data = bytes_pattern(size, uint32_t(bits));
        BYTES file = bmp_build(5, bits == 32 ? -3 : 3, uint16_t(bits), data);
        bytes_put_u32(file, 10, 9999);  // where the pixels are said to begin
        bytes_put_u32(file, 14, bits == 24 ? 124 : 40);
        file.insert(file.end(), 5, 0xAA);
        const TEMP_FILE on_disk(file, ".bmp");
        const SERIES_PTR bmp = opened(SERIES_PTR(bmp_reader_open(on_disk.name())));
        const INPUT_MEDIA_INFO info = info_of(bmp);
        EXPECT_EQ(info.flags, uint32_t(INPUT_MEDIA_VIDEO));
        EXPECT_EQ(info.rate + info.scale + int(info.video_handler), 0);
        EXPECT_EQ(info.frames, 1);
        EXPECT_EQ(info.video_format->biSize, 40u);
        EXPECT_EQ(info.video_format->biHeight, bits == 32 ? -3 : 3);
        BYTES got(size + 1, 0xEE);
        EXPECT_EQ(bmp_reader_read_video(bmp.get(), 0, got.data()), int(size));
        EXPECT_EQ(BYTES(got.begin(), got.end() - 1), data);
        EXPECT_EQ(got[size], 0xEE);
        bool damaged = false;
        EXPECT_EQ(bmp_reader_read_video_bounded(bmp.get(), 0, got.data(), size - 1, &damaged), int(size) - 1);
        EXPECT_TRUE(damaged);
        for (const int frame : {-1, 1, INT32_MAX}) EXPECT_EQ(bmp_reader_read_video(bmp.get(), frame, nullptr), 0);
    }
}

TEST(BmpReader, ASeriesEndsAtTheFirstThatDiffers) {
    const TEMP_FOLDER_PATH folder;
    const auto series_n = [&](const BYTES& fourth) {
        for (const char* name : {"p08.bmp", "p09.bmp", "p10.bmp", "p12.bmp"})
            put(folder / name, bmp_build(4, 4, 24, bytes_pattern(48, uint32_t(name[2]))));
        put(folder / "p11.bmp", fourth);
        return info_of(opened(SERIES_PTR(bmp_reader_open((folder / "p08.bmp").c_str())))).frames;
    };
    BYTES packed = bmp_build(4, 4, 24, BYTES(48));
    EXPECT_EQ(series_n(packed), 5);
    for (const BYTES& other : {bmp_build(5, 4, 24, BYTES(64)), bmp_build(4, -4, 24, BYTES(48)),
                               bmp_build(4, 4, 32, BYTES(64)), BYTES{'B', 'M'}, BYTES{}})
        EXPECT_EQ(series_n(other), 3);
    bytes_put_u32(packed, 30, 1);
    EXPECT_EQ(series_n(packed), 3);
    EXPECT_FALSE(SERIES_PTR(bmp_reader_open((folder / "p11.bmp").c_str())));

    const SERIES_PTR bmp(bmp_reader_open((folder / "p08.bmp").c_str()));
    BYTES got(48);
    EXPECT_EQ(bmp_reader_read_video(bmp.get(), 2, got.data()), 48);
    EXPECT_EQ(got, bytes_pattern(48, '0'));                         // p10
    put(folder / "p09.bmp", bmp_build(4, 4, 24, BYTES(20, 0xCC)));  // cut since
    bool damaged = false;
    EXPECT_EQ(bmp_reader_read_video_bounded(bmp.get(), 1, got.data(), 48, &damaged), 48);
    EXPECT_TRUE(damaged);
    EXPECT_EQ(got[19] * 1000 + got[20], 0xCC * 1000);
    ASSERT_EQ(remove((folder / "p10.bmp").c_str()), 0);
    EXPECT_EQ(bmp_reader_read_video(bmp.get(), 2, got.data()), 0);
}

// Marks, header sizes, widths, heights, bits and compression that cannot be.
TEST(BmpReader, UnusableHeadersAreRefused) {
    const uint32_t cases[][2] = {{0, 'B' | 'A' << 8}, {14, 12},           {18, 0}, {18, ~0u}, {22, 0}, {22, 1u << 31},
                                 {22, 0x7FFFFFFF},    {26, 1 | 17 << 16}, {26, 1}, {30, 1}};
    for (const auto& [at, value] : cases) {
        BYTES bytes = bmp_build(4, 4, 24, BYTES(48));
        bytes_put_u32(bytes, at, value);
        const TEMP_FILE file(bytes, ".bmp");
        EXPECT_FALSE(SERIES_PTR(bmp_reader_open(file.name()))) << at << " " << value;
    }
}

TEST(PictureReader, GivesASeriesBottomUpAtTheFirstOnesSize) {
    const TEMP_FOLDER_PATH folder;
    put(folder / "p1.png", png_build({.width = 5, .height = 3, .color = 6}));
    put(folder / "p2.png", jpeg_build({.width = 6, .height = 8, .value = {50}}));  // larger, and no PNG at all
    put(folder / "p3.png", png_build({.width = 4, .height = 3}));
    put(folder / "p4.png", {'x'});
    const SERIES_PTR pictures = opened(SERIES_PTR(picture_reader_open((folder / "p1.png").c_str())));
    const INPUT_MEDIA_INFO info = info_of(pictures);
    EXPECT_EQ(info.frames, 4);
    const BYTES header = avi_picture_format(5, 3, 32, 0);
    EXPECT_EQ(std::memcmp(info.video_format, header.data(), 20), 0);
    EXPECT_EQ(info.video_format->biSizeImage, 0u);

    BYTES got(61, 0xEE), first(60);
    EXPECT_EQ(picture_reader_read_video(pictures.get(), 0, first.data()), 60);
    bool damaged = true;
    EXPECT_EQ(picture_reader_read_video_bounded(pictures.get(), 1, got.data(), 61, &damaged), 60);
    EXPECT_FALSE(damaged);
    for (size_t i = 0; i < 60; ++i) ASSERT_EQ(got[i], i % 4 == 3 ? 255 : 50);
    EXPECT_EQ(got[60], 0xEE);
    for (const int frame : {-1, 2, 3, 4}) EXPECT_EQ(picture_reader_read_video(pictures.get(), frame, nullptr), 0);
    EXPECT_EQ(picture_reader_read_video_bounded(pictures.get(), 0, got.data(), 17, &damaged), 17);
    EXPECT_TRUE(damaged);
    EXPECT_EQ(BYTES(got.begin(), got.begin() + 17), BYTES(first.begin(), first.begin() + 17));
    EXPECT_EQ(got[17], 50);
    EXPECT_FALSE(SERIES_PTR(picture_reader_open((folder / "p4.png").c_str())));
}
