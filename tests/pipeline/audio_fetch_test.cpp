#include "pipeline/audio_fetch.h"

#include "core/edit_fixture.h"
#include "filters/audio_filters.h"
#include "hosts/filter.h"
#include "pipeline/audio_cursor.h"
#include "pipeline/frame_cache.h"
#include "resources/string_ids.h"
#include "support/avi_builder.h"
#include "support/kernel_test.h"

using SAMPLES = std::vector<int16_t>;

/// WAV files of known samples: they open as clips of 30 frames a second.
struct AudioFetch : EDIT_FIXTURE {
    static constexpr int RATE = 44100, FRAME = RATE / 30;

    void open_wave(uint16_t channels, uint32_t rate, uint16_t bits, size_t samples, uint32_t seed, uint32_t flags = 0) {
        const std::string name = std::to_string(seed) + ".wav";
        const std::string path = wave(name.c_str(), avi_sound_format(1, channels, rate, bits),
                                      bytes_pattern(samples * channels * bits / 8, seed));
        ASSERT_EQ(open_file(edit, path.c_str(), flags), 1);
    }
    /// Opens n frames of stereo and returns their samples.
    SAMPLES open_stereo(int n, int more = 0) {
        const size_t samples = size_t(n) * FRAME + size_t(more);
        open_wave(2, RATE, 16, samples, 7);
        EXPECT_EQ(edit->frame_n, std::max(n, 1));
        const BYTES bytes = bytes_pattern(samples * 4, 7);
        SAMPLES all(samples * 2);
        std::memcpy(all.data(), bytes.data(), bytes.size());
        return all;
    }
    static FILTER* turn_on(int name, int track) {
        FILTER* filter = filter_built_in(name);
        filter->track_values[0] = track;
        filter_set_active(filter, true);
        return filter;
    }
    BYTES fetch(int f, AUDIO_MODE mode, FILTER* stop = nullptr, int start = 0, int end = 0) {
        BYTES bytes(1 << 20, 0xEE);
        const int measured = audio_fetch(edit, f, start, end, nullptr, 0, stop, mode);
        bytes.resize(size_t(audio_fetch(edit, f, start, end, bytes.data(), bytes.size(), stop, mode)));
        EXPECT_EQ(bytes.size(), size_t(measured)) << "frame " << f << " mode " << mode;
        return bytes;
    }
    static BYTES bytes_of(const SAMPLES& all, int frame, int n = 1) {
        const auto* first = reinterpret_cast<const uint8_t*>(all.data()) + ptrdiff_t{frame} * FRAME * 4;
        return {first, first + ptrdiff_t{n} * FRAME * 4};
    }
};

TEST_F(AudioFetch, FiltersRunInModeZeroUpToTheStop) {
    const SAMPLES all = open_stereo(10);
    SAMPLES half = all;
    for (int16_t& x : half) x = int16_t(x >> 1);
    FILTER* volume = turn_on(STR_FILTER_VOLUME, -128);
    EXPECT_EQ(fetch(4, AUDIO_FILTERED), bytes_of(half, 4));
    EXPECT_EQ(fetch(4, AUDIO_FILTERED, volume), bytes_of(all, 4));
    EXPECT_EQ(fetch(4, AUDIO_CONVERTED), bytes_of(all, 4));
    EXPECT_EQ(fetch(4, AUDIO_STORED), bytes_of(all, 4));
    // A group of 4 from frame 2 on, in a range that ends at frame 8: 2 .. 5 and 6 .. 8.
    edit->audio_setting.interleave = 4;
    EXPECT_EQ(fetch(2, AUDIO_FILTERED, nullptr, 2, 8), bytes_of(half, 2, 4));
    EXPECT_EQ(fetch(3, AUDIO_FILTERED, nullptr, 2, 8), BYTES());
    EXPECT_EQ(fetch(6, AUDIO_FILTERED, nullptr, 2, 8), bytes_of(half, 6, 3));
    EXPECT_EQ(fetch(10, AUDIO_FILTERED), BYTES());
    for (const auto& [value, want] : {std::pair{0, 1}, {-3, 1}, {1000, 300}}) {  // up to ten seconds
        edit->audio_setting.interleave = value;
        EXPECT_EQ(audio_interleave(edit, &edit->base), want);
    }
}

TEST_F(AudioFetch, PositionMovesSoundAgainstPictures) {
    const SAMPLES all = open_stereo(10, FRAME / 2);
    turn_on(STR_FILTER_AUDIO_POSITION, 5);
    EXPECT_EQ(fetch(4, AUDIO_FILTERED), BYTES(FRAME * 4, 0));
    EXPECT_EQ(fetch(5, AUDIO_FILTERED), bytes_of(all, 0));
    EXPECT_EQ(fetch(9, AUDIO_FILTERED), bytes_of(all, 4));
    EXPECT_EQ(fetch(0, AUDIO_CONVERTED), bytes_of(all, 0));
    turn_on(STR_FILTER_AUDIO_POSITION, -3);
    EXPECT_EQ(fetch(0, AUDIO_FILTERED), bytes_of(all, 3));
    EXPECT_EQ(fetch(7, AUDIO_FILTERED).size(), size_t{FRAME / 2 * 4});  // the last half frame of the file
    EXPECT_EQ(fetch(8, AUDIO_FILTERED), BYTES());
    char text[40];
    audio_position_text(edit, text, sizeof text);
    EXPECT_STREQ(text, "-100ms");
}

// References before a source's start are silent without any filter seeing them, as wide as what is gathered.
TEST_F(AudioFetch, SilenceBeforeTheStart) {
    open_wave(1, 22050, 8, 22050, 3);
    turn_on(STR_FILTER_VOLUME, 100);
    frame_table.frame_audio[0] = frame_ref_make(0, -2);
    static int runs;
    runs = 0;
    filter_chain_set_observer([](const char*, int, void*) { ++runs; }, nullptr);
    EXPECT_EQ(fetch(0, AUDIO_FILTERED), BYTES(22050 / 30 * 2, 0));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(fetch(1, AUDIO_FILTERED).size(), size_t{22050 / 30 * 2});
    EXPECT_EQ(runs, 1);
    filter_chain_set_observer(nullptr, nullptr);
    EXPECT_EQ(fetch(0, AUDIO_CONVERTED), BYTES(22050 / 30 * 2, 0));
    EXPECT_EQ(fetch(0, AUDIO_STORED), BYTES(22050 / 30, 0x80));
}

using AudioCursor = AudioFetch;

// Three sources in turn, two of them converted in rate and channels.
TEST_F(AudioCursor, SequentialReadsGiveTheWholeExactly) {
    open_stereo(40);
    open_wave(1, 22050, 16, 22050, 8, OPEN_APPEND);
    open_wave(2, 48000, 8, 48000 + 777, 9, OPEN_APPEND);
    ASSERT_EQ(edit->frame_n, 100);
    for (const int f : {12, 13, 14, 50, 51}) frame_entry_copy_sound(f, 80);
    frame_table.frame_audio[3] = frame_ref_make(1, -1);
    turn_on(STR_FILTER_VOLUME, 31);
    audio_reset(edit, 1, 98);
    BYTES whole, got;
    for (int f = 1; f <= 98; ++f) {
        const BYTES one = fetch(f, AUDIO_FILTERED);
        whole.insert(whole.end(), one.begin(), one.end());
    }
    ASSERT_EQ(audio_cursor_open(edit, 1, 98), int(whole.size() / 4));
    RNG rng(kernel_seed());
    for (int at = 0, n, bytes; size_t(at) * 4 < whole.size(); at += n) {
        n = rng.below(4) ? rng.between(1, 3000) : rng.between(20000, 60000);
        const uint8_t* samples = audio_cursor_read(edit, at, &n, &bytes);
        ASSERT_GT(n, 0);
        ASSERT_EQ(bytes, n * 4);
        got.insert(got.end(), samples, samples + bytes);
    }
    EXPECT_TRUE(got == whole) << "seed " << kernel_seed();
    audio_cursor_close();
}

TEST_F(AudioCursor, JumpsGiveTheSameSamples) {
    const SAMPLES all = open_stereo(60);
    const int total = 58 * FRAME;
    ASSERT_EQ(audio_cursor_open(edit, 1, 58), total);
    RNG rng(kernel_seed());
    for (int i = 0; i < 300; ++i) {
        const int at = rng.between(-10, total + 10), wish = rng.between(-20, 9000);
        const int first = std::max(at, 0), end = std::min(first + wish + first - at, total);
        int n = wish, bytes = -1;
        const uint8_t* samples = audio_cursor_read(edit, at, &n, &bytes);
        ASSERT_EQ(n, std::max(end - first, 0)) << at << " " << wish;
        ASSERT_EQ(bytes, n * 4);
        ASSERT_EQ(std::memcmp(samples, all.data() + (FRAME + first) * 2, size_t(bytes)), 0) << at << " " << wish;
    }
    audio_cursor_close();
}

TEST_F(AudioCursor, TheBufferBoundsWhatIsGiven) {
    const SAMPLES all = open_stereo(3600);
    const int half = 60 * RATE, total = 2 * half;
    ASSERT_EQ(audio_cursor_open(edit, 0, 3599), total);
    int given = total, size;
    audio_cursor_read(edit, 0, &given, &size);
    EXPECT_EQ(given, int(display_buffer_size() / (FRAME * 4)) * FRAME);  // whole frames
    // A frame of a minute is larger than the buffer and comes in pieces.
    edit->base.video_stream.dwRate = 1;
    edit->base.video_stream.dwScale = 60;
    ASSERT_GT(size_t(half) * 4, display_buffer_size());
    ASSERT_EQ(audio_cursor_open(edit, 0, 1), total);
    const auto check = [&](int at, int wish) {
        int n = wish, bytes;
        const uint8_t* samples = audio_cursor_read(edit, at, &n, &bytes);
        EXPECT_GT(n, 0);
        EXPECT_EQ(std::memcmp(samples, all.data() + size_t(at) * 2, size_t(bytes)), 0) << at;
        return at + n;
    };
    int at = 0;
    while (at < total) at = check(at, 300000);
    EXPECT_EQ(at, total);
    check(half - 500, 1000);
    check(half + 9000, half);
    audio_cursor_close();
}
