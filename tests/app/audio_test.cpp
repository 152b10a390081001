#include <algorithm>

#include "app/app.h"
#include "core/edit_fixture.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "pipeline/audio_fetch.h"
#include "platform/file.h"
#include "resources/string_ids.h"
#include "support/avi_builder.h"
#include "support/kernel_test.h"

using SAMPLES = std::vector<int16_t>;

/// A silent clip of 25 frames a second, sound files beside it, and what the program makes of both.
struct AudioFiles : EDIT_FIXTURE {
    static constexpr int RATE = 48000, FRAMES = 50, FRAME = RATE / 25 * 2;  // 16-bit values of a frame

    static std::string wave_file(const SAMPLES& samples) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(samples.data());
        const BYTES file = wave_build(avi_sound_format(1, 2, RATE, 16), BYTES(bytes, bytes + samples.size() * 2));
        return {file.begin(), file.end()};
    }
    static SAMPLES values_of(const std::string& bytes) {
        SAMPLES samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }

    SAMPLES sound;
    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        std::filesystem::create_directory(folder / "home");
        clip("clip.avi", {64, 48, 25, 1, FRAMES, 24, 0, 0});
        RNG rng(5);
        sound.resize(size_t(FRAMES) * FRAME);
        for (size_t i = 0; i < sound.size(); ++i) sound[i] = int16_t(rng.between(-9000, 9000));
        file_put_bytes(folder / "sound.wav", wave_file(sound));
    }

    static void turn_on(int name, int track) {
        filter_built_in(name)->track_values[0] = track;
        filter_set_active(filter_built_in(name), true);
    }
    /// The sound of a save by the program itself, with the present values of all filters.
    SAMPLES saved(std::vector<std::string> options = {}) {
        const std::vector<uint8_t> config = filter_config_build();
        EXPECT_TRUE(file_replace(text_from_utf8(folder / "home/p.cfg").c_str(), config.data(), config.size()));
        std::vector<std::string> line = {folder / "clip.avi", "-a", folder / "sound.wav", "-p", "p", "-ow",
                                         folder / "out.wav",  "-q"};
        line.insert(line.end(), options.begin(), options.end());
        const COMMAND_OUTPUT run = vantel(folder, line);
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_EQ(run.error, "");
        return values_of(decoded_sound(folder, folder / "out.wav"));
    }
    /// The same in this process.
    SAMPLES saved_here() {
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "here.wav"));
        edit->output_kind = OUTPUT_KIND_WAV;
        EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
        return values_of(decoded_sound(folder, folder / "here.wav"));
    }
    void open_here() {
        ASSERT_EQ(open_file(edit, text_from_utf8(folder / "clip.avi").c_str(), 0), 1);
        ASSERT_EQ(open_file(edit, text_from_utf8(folder / "sound.wav").c_str(), OPEN_SOUND), 1);
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
    EXPECT_EQ(saved({"-r11,20"}), part(sound, 10, 19, FRAME));
    const COMMAND_OUTPUT run =
        vantel(folder, {folder / "clip.avi", "-a" + (folder / "sound.wav"), "-o", folder / "out.avi", "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(values_of(decoded_sound(folder, folder / "out.avi")), sound);
    // A file that is shorter than the clip gives what it has.
    sound.resize(FRAME * 7 + 100);
    file_put_bytes(folder / "sound.wav", wave_file(sound));
    EXPECT_EQ(saved(), sound);
}

TEST_F(AudioFiles, FiltersByTheModel) {
    turn_on(STR_FILTER_VOLUME, 201);
    EXPECT_EQ(saved(), louder(sound, 201));
    turn_on(STR_FILTER_VOLUME, -256);
    EXPECT_EQ(saved(), SAMPLES(sound.size()));
    turn_on(STR_FILTER_VOLUME, 40);
    // The loudest sample is outside the selection, and then inside.
    sound[size_t(FRAME) * 5 + 1] = -20000;
    sound[size_t(FRAME) * 30] = 14000;
    file_put_bytes(folder / "sound.wav", wave_file(sound));
    turn_on(STR_FILTER_NORMALISE, 190);
    EXPECT_EQ(saved({"-r11,50"}), louder(normalised(part(sound, 10, 49, FRAME), 190), 40));
    EXPECT_EQ(saved(), louder(normalised(sound, 190), 40));
    turn_on(STR_FILTER_AUDIO_POSITION, 6);
    SAMPLES later(size_t(FRAME) * 4);  // silence for the selected frames 2 to 5
    const SAMPLES heard = part(sound, 0, 43, FRAME);
    later.insert(later.end(), heard.begin(), heard.end());
    later = louder(normalised(later, 190), 40);
    EXPECT_EQ(saved({"-r3,50"}), later);
}

TEST_F(AudioFiles, QuietSoundBecomesFullScale) {
    for (size_t i = 0; i < sound.size(); ++i) sound[i] = int16_t(int(i % 201) - 100);
    file_put_bytes(folder / "sound.wav", wave_file(sound));
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
        return saved_here();
    };
    open_here();
    EXPECT_EQ(save_with_stop(-1), sound);
    EXPECT_EQ(pumps, FRAMES);  // no scan while the filter is off
    turn_on(STR_FILTER_NORMALISE, 256);
    EXPECT_EQ(save_with_stop(-1), normalised(sound, 256));
    EXPECT_EQ(pumps, 2 * FRAMES);
    EXPECT_EQ(save_with_stop(20), sound) << "a stopped scan leaves the level as it is";
    EXPECT_EQ(pumps, 20 + FRAMES);
    EXPECT_EQ(edit->edit_flag & EDIT_SAVING, 0u);
    // Outside of a save the filter does nothing.
    SAMPLES frame(FRAME);
    ASSERT_EQ(audio_fetch(edit, 9, 0, 0, frame.data(), frame.size() * 2, nullptr, AUDIO_FILTERED), FRAME * 2);
    EXPECT_EQ(frame, part(sound, 9, 9, FRAME));
    message_silence(true);
    ui_hooks = {};
}

TEST_F(AudioFiles, NoSoundIsTold) {
    const COMMAND_OUTPUT run = vantel(folder, {folder / "clip.avi", "-ow", folder / "out.wav", "-q"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.error.find("out.wav"), std::string::npos) << run.error;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
    EXPECT_EQ(vantel(folder, {"-a", folder / "sound.wav", "-q"}).status, 1);
    EXPECT_EQ(vantel(folder, {folder / "clip.avi", "-a", folder / "clip.avi", "-q"}).status, 1);
}

TEST_F(AudioFiles, WavAsAClip) {
    sound.resize(200);  // less than a frame of its 30 a second
    file_put_bytes(folder / "short.wav", wave_file(sound));
    const COMMAND_OUTPUT run = vantel(folder, {folder / "short.wav", "-o", folder / "out.avi", "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    const std::string picture = decoded_frames(folder, folder / "out.avi");
    EXPECT_EQ(picture, std::string(640 * 480 * 3, '\0'));
    EXPECT_EQ(values_of(decoded_sound(folder, folder / "out.avi")), sound);
}
