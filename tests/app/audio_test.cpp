#include "app/save_fixture.h"
#include "core/ui_hooks.h"
#include "pipeline/audio_fetch.h"
#include "resources/string_ids.h"
#include "support/kernel_test.h"

using SAMPLES = std::vector<int16_t>;

/// A silent clip of 25 frames a second, a sound file beside it, and what is made of both.
struct AudioFiles : SAVE_FIXTURE {
    static constexpr int RATE = 48000, FRAMES = 50, FRAME = RATE / 25 * 2;  // 16-bit values of a frame
    const std::string clip_path = folder / "clip.avi", wave_path = folder / "sound.wav";
    SAMPLES sound = SAMPLES(size_t(FRAMES) * FRAME);

    void SetUp() override {
        SAVE_FIXTURE::SetUp();
        clip("clip.avi", {64, 48, 25, 1, FRAMES, 24, 0, 0});
        RNG rng(5);
        for (int16_t& x : sound) x = int16_t(rng.between(-9000, 9000));
        put_sound();
    }
    void put_sound() const {
        const auto* bytes = reinterpret_cast<const uint8_t*>(sound.data());
        wave("sound.wav", avi_sound_format(1, 2, RATE, 16), BYTES(bytes, bytes + sound.size() * 2));
    }
    SAMPLES sound_of(const std::string& path) const {
        const std::string bytes = decoded_sound(folder, path);
        SAMPLES samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }
    static void turn_on(int name, int track) {
        filter_built_in(name)->track_values[0] = track;
        filter_set_active(filter_built_in(name), true);
    }
    /// The sound of a save by the program itself, with the present values of all filters.
    SAMPLES saved(const char* range = "-r1") {
        keep_profile("p");
        run_program({clip_path, "-a", wave_path, "-p", "p", "-ow", folder / "out.wav", "-q", range});
        return sound_of(folder / "out.wav");
    }
};

// ---- a model of the filters, by exact ratios

static SAMPLES part(const SAMPLES& all, int first, int last, int frame) {
    return {all.begin() + ptrdiff_t{first} * frame, all.begin() + ptrdiff_t{last + 1} * frame};
}
static SAMPLES normalised(SAMPLES samples, int level) {
    int peak = 0, shift = 0;
    for (const int x : samples) peak = std::max(peak, x < 0 ? -x - 1 : x);
    while (peak << shift < 16384) ++shift;
    const int factor = 0x1FFFC000 / (peak << shift) * level / 256;
    for (int16_t& x : samples) x = int16_t((x * (1 << shift) * int64_t{factor}) >> 14);
    return samples;
}
static SAMPLES louder(SAMPLES samples, int track) {
    for (int16_t& x : samples) x = int16_t(std::clamp((x * (track + 256)) >> 8, -32768, 32767));
    return samples;
}

TEST_F(AudioFiles, SoundFileGoesIntoWavAndAvi) {
    EXPECT_EQ(saved(), sound);
    EXPECT_EQ(saved("-r11,20"), part(sound, 10, 19, FRAME));
    run_program({clip_path, "-a" + wave_path, "-o", out, "-q"});
    EXPECT_EQ(sound_of(out), sound);
    sound.resize(FRAME * 7 + 100);  // shorter than the clip
    put_sound();
    EXPECT_EQ(saved(), sound);
    // As a clip it has pictures, too: this one is less than a frame of its 30 a second.
    sound.resize(200);
    put_sound();
    run_program({wave_path, "-o", out, "-q"});
    EXPECT_EQ(decoded_frames(folder, out), std::string(640 * 480 * 3, '\0'));
    EXPECT_EQ(sound_of(out), sound);
}

TEST_F(AudioFiles, FiltersByTheModel) {
    turn_on(STR_FILTER_VOLUME, -256);
    EXPECT_EQ(saved(), SAMPLES(sound.size()));
    turn_on(STR_FILTER_VOLUME, 40);
    // The loudest sample is outside the selection, and then inside.
    sound[size_t(FRAME) * 5 + 1] = -20000;
    sound[size_t(FRAME) * 30] = 14000;
    put_sound();
    turn_on(STR_FILTER_NORMALISE, 190);
    EXPECT_EQ(saved("-r11,50"), louder(normalised(part(sound, 10, 49, FRAME), 190), 40));
    EXPECT_EQ(saved(), louder(normalised(sound, 190), 40));
    turn_on(STR_FILTER_AUDIO_POSITION, 6);
    SAMPLES later(size_t(FRAME) * 4);  // silence for the selected frames 2 to 5
    const SAMPLES heard = part(sound, 0, 43, FRAME);
    later.insert(later.end(), heard.begin(), heard.end());
    EXPECT_EQ(saved("-r3,50"), louder(normalised(later, 190), 40));
    filter_all_off();  // a quiet sound becomes full scale
    for (size_t i = 0; i < sound.size(); ++i) sound[i] = int16_t(int(i % 201) - 100);
    put_sound();
    turn_on(STR_FILTER_NORMALISE, 256);
    const SAMPLES got = saved();
    EXPECT_EQ(got, normalised(sound, 256));
    EXPECT_EQ(*std::max_element(got.begin(), got.end()), 32765);
}

TEST_F(AudioFiles, ScanRunsOnceAndCanBeStopped) {
    static int pumps, stop_at;
    ui_hooks.pump = [] { return ++pumps == stop_at; };
    ui_hooks.ask = [](const char*) { return true; };
    message_silence(false);
    const auto save_with_stop = [&](int at) {
        pumps = 0;
        stop_at = at;
        EXPECT_EQ(save_to(folder / "here.wav", OUTPUT_KIND_WAV), 1);
        return sound_of(folder / "here.wav");
    };
    open(clip_path);
    open(wave_path, OPEN_SOUND);
    EXPECT_EQ(save_with_stop(-1), sound);
    EXPECT_EQ(pumps, FRAMES);  // no scan while the filter is off
    turn_on(STR_FILTER_NORMALISE, 256);
    EXPECT_EQ(save_with_stop(-1), normalised(sound, 256));
    EXPECT_EQ(pumps, 2 * FRAMES);
    EXPECT_EQ(save_with_stop(20), sound) << "a stopped scan leaves the level as it is";
    EXPECT_EQ(pumps, 20 + FRAMES);
    SAMPLES frame(FRAME);  // outside of a save the filter does nothing
    ASSERT_EQ(audio_fetch(edit, 9, 0, 0, frame.data(), frame.size() * 2, nullptr, AUDIO_FILTERED), FRAME * 2);
    EXPECT_EQ(frame, part(sound, 9, 9, FRAME));
    message_silence(true);
    ui_hooks = {};
}

TEST_F(AudioFiles, NoSoundIsTold) {
    const COMMAND_OUTPUT run = vantel(folder, {clip_path, "-ow", folder / "out.wav", "-q"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.error.find("out.wav"), std::string::npos) << run.error;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
    EXPECT_EQ(vantel(folder, {"-a", wave_path, "-q"}).status, 1);
    EXPECT_EQ(vantel(folder, {clip_path, "-a", clip_path, "-q"}).status, 1);
}
