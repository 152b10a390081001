#include "readers/avis_reader.h"

#include "readers/input_table.h"
#include "readers/reader_test.h"
#include "support/command.h"

using AVIS_PTR = READER_PTR<avis_reader_close, avis_reader_info>;

/// One part: frames of 4 x 2 YUY2, and sound of one chunk.
struct PART {
    int frames = 2;
    uint32_t rate = 30;
    uint32_t samples = 0;  // 0 = no sound
    uint32_t sound_rate = 8000;
    int32_t width = 4;
};

static BYTES frame_of(int part, int frame) { return bytes_pattern(16, uint32_t(part * 100 + frame + 1)); }
static BYTES sound_of(int part, const PART& p) { return bytes_pattern(p.samples * 4, uint32_t(part + 7000)); }

static AVIS_PTR series_open(const TEMP_FOLDER_PATH& folder, const std::vector<PART>& parts) {
    for (size_t i = 0; i < parts.size(); ++i) {
        const PART& p = parts[i];
        AVI_BUILD build;
        build.streams = {avi_video_stream(p.width, 2, 16, VANTEL_FOURCC('Y', 'U', 'Y', '2'))};
        build.streams[0].rate = p.rate;
        for (int k = 0; k < p.frames; ++k) build.chunks.push_back({0, "dc", frame_of(int(i), k), k != 1});
        if (p.samples) {
            build.streams.push_back(avi_sound_stream(1, 2, p.sound_rate, 16));
            build.chunks.push_back({1, "wb", sound_of(int(i), p)});
        }
        const BYTES bytes = avi_build(build);
        file_put_bytes(folder / ("s" + std::to_string(i + 1) + ".avi"), {bytes.begin(), bytes.end()});
    }
    return AVIS_PTR(avis_reader_open((folder / "s1.avi").c_str()));
}

TEST(AvisReader, ReadsAcrossTheBordersOfParts) {
    const TEMP_FOLDER_PATH folder;
    const std::vector<PART> parts = {
        {.frames = 3, .samples = 10}, {.frames = 1, .samples = 5}, {.frames = 2, .samples = 20}};
    const AVIS_PTR avis = opened(series_open(folder, parts));
    const INPUT_MEDIA_INFO info = info_of(avis);
    EXPECT_EQ(info.flags, uint32_t(INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO));
    EXPECT_EQ(info.frames, 6);
    EXPECT_EQ(info.video_handler, VANTEL_FOURCC('Y', 'U', 'Y', '2'));
    EXPECT_EQ(info.audio_samples, 35);

    const int place[][2] = {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {2, 0}, {2, 1}};
    for (int frame = 0; frame < 6; ++frame) {
        BYTES got(16);
        EXPECT_EQ(avis_reader_read_video(avis.get(), frame, got.data()), 16);
        EXPECT_EQ(got, frame_of(place[frame][0], place[frame][1])) << frame;
        EXPECT_EQ(avis_reader_is_keyframe(avis.get(), frame), place[frame][1] != 1) << frame;
    }
    for (const int frame : {-1, 6, INT32_MAX}) {
        EXPECT_EQ(avis_reader_read_video(avis.get(), frame, nullptr), 0);
        EXPECT_EQ(avis_reader_is_keyframe(avis.get(), frame), 1);
    }
    BYTES all;
    for (int i = 0; i < 3; ++i) {
        const BYTES sound = sound_of(i, parts[size_t(i)]);
        all.insert(all.end(), sound.begin(), sound.end());
    }
    for (int start = 0; start < 35; ++start) {
        for (const int count : {1, 6, 17, INT32_MAX})
            ASSERT_NO_FATAL_FAILURE(expect_samples<avis_reader_read_audio>(avis, all, 4, start, count));
    }
    for (const int start : {-1, 35}) EXPECT_EQ(avis_reader_read_audio(avis.get(), start, 1, nullptr), 0);
}

TEST(AvisReader, TheRateIsTheMeanOfTheParts) {
    const TEMP_FOLDER_PATH folder;
    EXPECT_EQ(info_of(series_open(folder, {{.frames = 30, .rate = 30}, {.frames = 30, .rate = 15}})).rate, 20000000);
    EXPECT_EQ(info_of(series_open(folder, {{.frames = 10, .rate = 30}, {.frames = 1, .rate = 7}})).rate, 23100000);
}

TEST(AvisReader, PartsThatDiffer) {
    const TEMP_FOLDER_PATH folder;
    const PART sound = {.samples = 4}, other = {.samples = 4, .sound_rate = 11025}, silent = {},
               wide = {.samples = 4, .width = 6};
    for (const PART& third : {other, silent}) {
        const AVIS_PTR avis = series_open(folder, {sound, sound, third, sound});
        EXPECT_EQ(info_of(avis).flags, uint32_t(INPUT_MEDIA_VIDEO));
        EXPECT_EQ(info_of(avis).frames, 8);
        EXPECT_EQ(avis_reader_read_audio(avis.get(), 0, 1, nullptr), 0);
    }
    const AVIS_PTR avis = series_open(folder, {sound, sound, wide, sound});
    EXPECT_EQ(info_of(avis).frames, 4);
    EXPECT_EQ(info_of(avis).audio_samples, 8);
    file_put_bytes(folder / "s2.avi", "no AVI");
    EXPECT_EQ(info_of(AVIS_PTR(avis_reader_open((folder / "s1.avi").c_str()))).frames, 2);
    EXPECT_FALSE(AVIS_PTR(avis_reader_open((folder / "s2.avi").c_str())));
}

TEST(AvisReader, TakesSixtyFourPartsAndIsReachedByItsName) {
    const TEMP_FOLDER_PATH folder;
    EXPECT_EQ(info_of(series_open(folder, std::vector<PART>(66))).frames, 128);
    input_table_init();
    for (const char* name : {static_cast<const char*>(nullptr), "AVIs File Reader"}) {
        INPUT_MEDIA_INFO info = {};
        input_info(opened(input_open((folder / "s1.avi").c_str(), -1, name)), &info);
        EXPECT_EQ(info.frames, name ? 128 : 2);
    }
    input_table_exit();
}
