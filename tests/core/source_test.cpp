#include "core/edit_fixture.h"
#include "pipeline/audio_fetch.h"

static constexpr CLIP SMALL = {64, 48, 30, 1, 20, 24, 44100, 0};

struct Source : EDIT_FIXTURE {
    int open(const CLIP& what, uint32_t flags = 0) { return open_file(edit, clip("a.avi", what).c_str(), flags); }
};

TEST_F(Source, AppendedFileOfAnotherRateIsMapped) {
    ASSERT_EQ(open(SMALL), 1);
    const std::string b = clip("b.avi", {80, 60, 15, 1, 10, 24, 44100, 0});
    ASSERT_EQ(open_file(edit, b.c_str(), OPEN_APPEND), 1);
    EXPECT_EQ(edit->frame_n, 40);
    EXPECT_EQ(edit->frame, 20);
    EXPECT_EQ(edit->select_end, 39);  // everything was selected, so the selection grows
    for (int k = 0; k < 20; ++k) {
        EXPECT_EQ(frame_table.frame_video[20 + k], frame_ref_make(1, k / 2)) << k;
        EXPECT_EQ(frame_table.frame_audio[20 + k], frame_ref_make(1, k)) << k;
    }
    edit->select_end = 5;
    system_settings.fpsnoconvert = 1;
    ASSERT_EQ(open_file(edit, b.c_str(), OPEN_APPEND), 1);
    EXPECT_EQ(edit->frame_n, 50);
    EXPECT_EQ(edit->select_end, 5);
    EXPECT_EQ(frame_table.frame_video[49], frame_ref_make(2, 9));
    // One without sound silences the edit.
    EXPECT_TRUE(edit->base.media_flag & MEDIA_HAS_AUDIO);
    ASSERT_EQ(open_file(edit, clip("mute.avi", {64, 48, 30, 1, 5, 24, 0, 0}).c_str(), OPEN_APPEND), 1);
    EXPECT_FALSE(edit->base.media_flag & MEDIA_HAS_AUDIO);
}

TEST_F(Source, SelectionTakesAShorterFileByRepeatingItsLastFrame) {
    ASSERT_EQ(open(SMALL), 1);
    edit->select_start = 4, edit->select_end = 12;
    ASSERT_EQ(
        open_file(edit, clip("b.avi", {64, 48, 15, 1, 3, 24, 44100, 0}).c_str(), OPEN_APPEND | OPEN_INTO_SELECTION), 1);
    EXPECT_EQ(edit->frame_n, 20);
    const int pictures[] = {0, 0, 1, 1, 2, 2, 2, 2, 2};
    for (int k = 0; k < 9; ++k) EXPECT_EQ(frame_table.frame_video[4 + k], frame_ref_make(1, pictures[k])) << k;
    EXPECT_EQ(frame_table.frame_video[13], 13u);
}

TEST_F(Source, LimitsAreKept) {
    EXPECT_EQ(open({1288, 48, 30, 1, 1, 24, 0, 0}), 0);
    EXPECT_EQ(open({64, 31, 30, 1, 1, 24, 0, 0}), 0);
    EXPECT_EQ(edit->edit_flag & EDIT_OPEN, 0u);
    const std::string a = clip("a.avi", {32, 32, 30, 1, 2, 24, 0, 0});
    ASSERT_EQ(open_file(edit, a.c_str(), 0), 1);
    for (int i = 1; i < SOURCE_MAX; ++i) ASSERT_EQ(open_file(edit, a.c_str(), OPEN_APPEND), 1) << i;
    EXPECT_EQ(open_file(edit, a.c_str(), OPEN_APPEND), 0);
    EXPECT_EQ(edit->frame_n, 128);
    // Dropping the frames of one source frees its slot for the next file.
    for (int i = 0; i < edit->frame_n; ++i)
        if (frame_ref_source(frame_table.frame_video[i]) == 7)
            frame_table.frame_video[i] = frame_table.frame_audio[i] = 0;
    EXPECT_EQ(open_file(edit, a.c_str(), OPEN_APPEND), 1);
    EXPECT_EQ(frame_table.frame_video[128], frame_ref_make(7, 0));
}

TEST_F(Source, ClaimedSizesAreNotBelieved) {
    const std::string path = clip("a.avi", SMALL);
    std::string bytes = file_bytes(folder / "a.avi");
    for (const int32_t size : {-1, 0, 40000, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        for (const size_t at : {176, 180}) std::memcpy(bytes.data() + at, &size, 4);  // biWidth, biHeight
        file_put_bytes(folder / "a.avi", bytes);
        EXPECT_EQ(open_file(edit, path.c_str(), 0), 0) << size;
    }
}

TEST_F(Source, RateListChangesNothingButNearlyThirty) {
    system_settings.load30fps = 1;
    ASSERT_EQ(open({64, 48, 2997, 100, 30, 24, 0, 0}), 1);
    EXPECT_EQ(edit->base.video_stream.dwRate, 30000u);
    EXPECT_EQ(edit->base.video_stream.dwScale, 1001u);
    EXPECT_EQ(edit->frame_n, 30);
}

TEST_F(Source, FramesReadBackInAnyOrder) {
    MEDIA_RECORD record;
    ASSERT_EQ(media_open(&record, clip("a.avi", SMALL).c_str(), 0), 1);
    for (const int frame : {0, 7, 7, 3, 19, 50, -2, 12}) {
        const int stored = std::clamp(frame, 0, 19);
        const uint8_t* picture = media_read_frame(&record, frame);
        int number = 0;
        for (int bit = 0; bit < 8; ++bit)  // the frame number stands in blocks along the lower edge
            if (picture[(size_t(bit) * 8 + 4) * 3] > 128) number |= 1 << bit;
        EXPECT_EQ(number, stored);
        EXPECT_EQ(record.last_frame, stored);
    }
    media_close(&record);
    EXPECT_EQ(record.media_flag, 0u);
    ASSERT_EQ(media_open(&record, clip("a.avi", SMALL).c_str(), LOAD_DOUBLE_RATE), 1);
    EXPECT_EQ(record.media_frames, 40);
    EXPECT_EQ(record.video_stream.dwRate, 60u);
    media_read_frame(&record, 15);
    EXPECT_EQ(record.last_frame, 7);
    media_close(&record);
    EXPECT_EQ(media_open(&record, text_from_utf8(folder / "nothing.avi").c_str(), 0), -1);
}

TEST_F(Source, SoundOfFramesAddsUpToTheFile) {
    ASSERT_EQ(open({64, 48, 30000, 1001, 300, 24, 44100, 0}), 1);
    std::vector<uint8_t> whole(4 << 20), parts(4 << 20);
    const int all = media_read_audio(&edit->source[0].media, 0, -1, whole.data(), whole.size(), &edit->base);
    size_t fill = 0;
    for (int f = 0; f < edit->frame_n; ++f)
        fill += size_t(audio_fetch(edit, f, 0, 0, parts.data() + fill, parts.size() - fill, nullptr, AUDIO_FILTERED));
    ASSERT_LE(fill, size_t(all));
    EXPECT_GE(fill + 4, size_t(all));
    EXPECT_EQ(std::memcmp(whole.data(), parts.data(), fill), 0);
}
