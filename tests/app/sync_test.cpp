#include "support/sync_meter.h"

#include <algorithm>

#include "app/save_fixture.h"
#include "core/audio_conv.h"
#include "output/avi_writer.h"
#include "output/writer_table.h"
#include "platform/audio_codec.h"
#include "resources/language.h"
#include "resources/string_ids.h"

/// A flash and a beep each second, through every kind of stored sound and every kind of output, whole, cut and with
/// clips of other rates behind it: each beep stays within a frame of its flash.

static constexpr int FPS = 25, RATE = 44100, SECONDS = 8;

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
    std::string source(const std::string& name, const CLIP& what, const std::vector<std::string>& sound) {
        const std::string plain = folder / ("plain_" + name + ".avi");
        std::string path = folder / name;
        clip(("plain_" + name + ".avi").c_str(), what);
        std::vector<std::string> line = {"-i", plain, "-c:v", "copy"};
        line.insert(line.end(), sound.begin(), sound.end());
        line.push_back(path);
        EXPECT_TRUE(ffmpeg(line)) << name;
        return path;
    }
    /// The same with MP3 of the program's own.
    std::string source_of_ours(const std::string& name, const CLIP& what) {
        clip(("plain_" + name).c_str(), what);
        open(folder / ("plain_" + name));
        select_all();
        save_sound(name, 0x55);
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
    const CLIP what = {64, 48, FPS, 1, FPS * SECONDS, 24, RATE, 0};
    const SYNC_SOURCE& s = GetParam();
    const std::string slow = source_of_ours("slow.avi", {64, 48, 15, 1, 45, 24, 48000, 0});
    const std::string fast = source("fast.avi", {64, 48, 30, 1, 60, 24, 22050, 0}, {"-c:a", "adpcm_ms"});
    open(s.sound.empty() ? source_of_ours(s.name, what) : source(s.name, what, s.sound));
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

static std::string stored_sound(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    EXPECT_TRUE(ffmpeg({"-i", path, "-map", "0:a", "-c", "copy", "-f", "data", folder / "stored.bin"}));
    return file_bytes(folder / "stored.bin");
}

/// Each packet with its time, as ffmpeg reads it.
static std::string packets(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    EXPECT_TRUE(ffmpeg({"-i", path, "-map", "0:a", "-c", "copy", "-f", "framecrc", folder / "packets.txt"}));
    const std::string text = file_bytes(folder / "packets.txt");
    return text.substr(text.find("#tb"));
}

TEST_F(Sync, CopiedSoundIsTheStoredOne) {
    const CLIP what = {64, 48, FPS, 1, FPS * SECONDS, 24, RATE, 0};
    for (const std::vector<std::string>& sound :
         {std::vector<std::string>{"-c:a", "pcm_u8"}, {"-c:a", "adpcm_ms"}, {"-c:a", "libmp3lame", "-q:a", "5"}}) {
        SCOPED_TRACE(sound[1]);
        const std::string path = source("copied.avi", what, sound);
        open(path);
        select_all();
        edit->audio_setting.audio_flags = AUDIO_SETTING_COPY;
        ASSERT_EQ(save(), 1);
        expect_sync(out, SECONDS);
        const std::string before = stored_sound(folder, path), after = stored_sound(folder, out);
        EXPECT_TRUE(before.starts_with(after));
        EXPECT_GE(after.size() + 4096, before.size());  // what lies behind the last frame stays out
        const bool variable = edit->base.media_flag & MEDIA_VARIABLE_AUDIO;
        EXPECT_EQ(variable, sound.size() > 2);
        EXPECT_TRUE(!variable || packets(folder, path).starts_with(packets(folder, out)));
        cut(60, 5 * FPS + 4);  // in silence: a packet of MP3 may need bytes of the one before it
        ASSERT_EQ(save(), 1);
        expect_sync(out, SECONDS - 3);
    }
}

static int audio_fails_at_the_end(SAVE_CONTEXT*, const void* bytes, size_t) {
    return bytes ? AVI_OK : AVI_NO_AUDIO_CODEC;
}

TEST_F(Sync, ConversionThatFailsAtTheEndIsTold) {
    WRITER writer = writer_null;
    writer.put_audio = audio_fails_at_the_end;
    open(clip("plain.avi", {64, 48, FPS, 1, 10, 24, RATE, 0}));
    save_set_writer(&writer);
    message_silence(false);
    testing::internal::CaptureStderr();
    EXPECT_EQ(save(), 0);
    const std::string told = testing::internal::GetCapturedStderr();
    message_silence(true);
    save_set_writer(nullptr);
    const std::string text = text_to_utf8(language_string(STR_ERR_AUDIO_COMPRESS));
    EXPECT_NE(told.find(text.substr(0, text.find('\n'))), std::string::npos) << told;
}
