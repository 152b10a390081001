#include "support/sync_meter.h"

#include "app/save_fixture.h"
#include "core/audio_conv.h"
#include "output/avi_writer.h"
#include "output/writer_table.h"
#include "platform/audio_codec.h"
#include "resources/string_ids.h"

/// A flash and a beep each second, through every kind of stored sound and every kind of output, whole, cut and with
/// clips of other rates behind it: each beep stays within a frame of its flash.

static constexpr int FPS = 25, RATE = 44100, SECONDS = 8, FRAMES = FPS * SECONDS;
static constexpr CLIP WHOLE = {64, 48, FPS, 1, FRAMES, 24, RATE, 0};

struct SYNC_SOURCE {
    const char* name;
    std::vector<std::string> sound;  // arguments of ffmpeg; none: saved by the program itself, as MP3
};
static const SYNC_SOURCE SOURCES[] = {
    {"pcm.avi", {"-c:a", "pcm_s16le"}},
    {"mp3.avi", {"-c:a", "libmp3lame", "-b:a", "128k"}},
    {"mp3_vbr.avi", {"-c:a", "libmp3lame", "-q:a", "5"}},
    {"ms_adpcm.avi", {"-c:a", "adpcm_ms"}},
    {"aac.mp4", {"-c:a", "aac", "-c:v", "mpeg4", "-q:v", "2"}},
    {"mp3_stream.avi", {}},
};
static constexpr uint16_t OUTPUT_TAGS[] = {1, 0x55, 2, 0xFF};  // PCM, MP3, MS ADPCM, AAC

struct Sync : SAVE_FIXTURE {
    /// A clip whose sound ffmpeg makes over by these arguments, or without any the program itself, as MP3.
    std::string source(const std::string& name, const CLIP& what, std::vector<std::string> sound) {
        const std::string plain = clip(("plain_" + name + ".avi").c_str(), what);
        if (sound.empty()) {
            open(plain);
            select_all();
            save_sound(name, 0x55);
            return folder / name;
        }
        sound.insert(sound.begin(), {"-i", plain, "-c:v", "copy"});
        sound.push_back(folder / name);
        EXPECT_TRUE(ffmpeg(sound)) << name;
        return folder / name;
    }
    /// Takes frames first .. last out.
    void cut(int first, int last) {
        for (int from = last + 1, to = first; from < edit->frame_n; ++from, ++to) frame_entry_copy(to, from);
        edit->frame_n -= last - first + 1;
        select_all();
    }
    void choose(uint16_t tag) {
        edit->audio_setting.audio_flags = 0;
        for (const AUDIO_CODEC_CHOICE& choice : audio_codec_choices(edit->base.audio_header.nSamplesPerSec, 2)) {
            const WAVEFORMATEX head = audio_format_head(choice.format);
            if (head.wFormatTag != tag || (tag == 0x55 && head.nAvgBytesPerSec != 16000)) continue;
            edit->audio_setting.audio_flags = AUDIO_SETTING_CHOSEN;
            std::memcpy(edit->audio_setting.target_format, choice.format.data(), choice.format.size());
            edit->audio_setting.target_format_size = int32_t(choice.format.size());
        }
        ASSERT_EQ(edit->audio_setting.audio_flags != 0, tag != 1) << "format " << tag;
    }
    void save_sound(const std::string& name, uint16_t tag) {
        choose(tag);
        ASSERT_EQ(save_to(folder / name), 1);
    }
    void expect_sync(const std::string& path, size_t beeps) {
        const int rate = int(edit->base.audio_header.nSamplesPerSec);
        const SYNC_MARKS marks = sync_measure(folder.path, path, FPS, rate);
        EXPECT_EQ(marks.flashes.size(), beeps);
        EXPECT_EQ(marks.beeps.size(), beeps);
        EXPECT_LE(sync_error(marks), 1.0 / FPS);
        EXPECT_NEAR(marks.told_seconds, marks.sound_seconds, 0.06);
    }
    void expect_outputs(size_t beeps) {
        for (const uint16_t tag : OUTPUT_TAGS) {
            SCOPED_TRACE(tag);
            save_sound("out.avi", tag);
            expect_sync(out, beeps);
        }
    }
};

class SyncOf : public Sync, public testing::WithParamInterface<SYNC_SOURCE> {};

TEST_P(SyncOf, HoldsWholeCutAndAppended) {
    const std::string slow = source("slow.avi", {64, 48, 15, 1, 45, 24, 48000, 0}, {});
    const std::string fast = source("fast.avi", {64, 48, 30, 1, 60, 24, 22050, 0}, {"-c:a", "adpcm_ms"});
    open(source(GetParam().name, WHOLE, GetParam().sound));
    select_all();
    expect_outputs(SECONDS);
    // One splice is right in front of a flash, one far from any.
    cut(55, 5 * FPS - 1);
    cut(edit->frame_n - 40, edit->frame_n - 35);
    open(slow, OPEN_APPEND);
    open(fast, OPEN_APPEND);
    select_all();
    expect_outputs(SECONDS - 2 + 5);
}

INSTANTIATE_TEST_SUITE_P(Sources, SyncOf, testing::ValuesIn(SOURCES), [](const auto& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

// ---- copied sound

/// The stored packets: format "data" gives their bytes, "framecrc" a line with the time of each.
static std::string packets(const TEMP_FOLDER_PATH& folder, const std::string& path, const char* format) {
    EXPECT_TRUE(ffmpeg({"-i", path, "-map", "0:a", "-c", "copy", "-f", format, folder / "packets"}));
    return file_bytes(folder / "packets");
}
static std::string timed(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    const std::string text = packets(folder, path, "framecrc");
    return text.substr(text.find("#tb"));
}

TEST_F(Sync, CopiedSoundIsTheStoredOne) {
    for (const std::vector<std::string>& sound :
         {std::vector<std::string>{"-c:a", "pcm_u8"}, {"-c:a", "adpcm_ms"}, {"-c:a", "libmp3lame", "-q:a", "5"}}) {
        SCOPED_TRACE(sound[1]);
        const std::string path = source("copied.avi", WHOLE, sound);
        open(path);
        select_all();
        edit->audio_setting.audio_flags = AUDIO_SETTING_COPY;
        ASSERT_EQ(save(), 1);
        expect_sync(out, SECONDS);
        const std::string before = packets(folder, path, "data"), after = packets(folder, out, "data");
        EXPECT_TRUE(before.starts_with(after));
        EXPECT_GE(after.size() + 4096, before.size());  // what lies behind the last frame stays out
        const bool variable = edit->base.media_flag & MEDIA_VARIABLE_AUDIO;
        EXPECT_EQ(variable, sound.size() > 2);
        EXPECT_TRUE(!variable || timed(folder, path).starts_with(timed(folder, out)));
        cut(60, 5 * FPS + 4);  // in silence: a packet of MP3 may need bytes of the one before it
        ASSERT_EQ(save(), 1);
        expect_sync(out, SECONDS - 3);
    }
}

TEST_F(Sync, ConversionThatFailsAtTheEndIsTold) {
    WRITER writer = writer_null;
    writer.put_audio = [](SAVE_CONTEXT*, const void* bytes, size_t) -> int {
        return bytes ? AVI_OK : AVI_NO_AUDIO_CODEC;
    };
    open(clip("plain.avi", {64, 48, FPS, 1, 10, 24, RATE, 0}));
    save_set_writer(&writer);
    expect_save_fails(STR_ERR_AUDIO_COMPRESS);
    save_set_writer(nullptr);
}
