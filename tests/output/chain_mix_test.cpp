#include "output/chain_mix.h"

#include "avi_sample.h"
#include "core/edit_fixture.h"
#include "core/ui_hooks.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "riff_dump.h"

/// What a file holds, through the media layer.
struct STORED {
    std::vector<std::string> frames;  // each with its key flag in front
    std::string sound;
    MEDIA_RECORD media;
};

static STORED stored_of(const std::string& path) {
    STORED stored;
    const bool wav = path.ends_with(".wav");
    if (media_open(&stored.media, path.c_str(), LOAD_READ_ONLY | LOAD_STORED_AUDIO | (wav ? LOAD_NO_VIDEO : 0u)) != 1)
        return {};
    std::string buffer(size_t{32} << 20, 0);
    for (int i = 0; i < stored.media.media_frames; ++i) {
        int key = 0;
        const int n = media_read_frame_raw(&stored.media, i, buffer.data(), buffer.size(), &key);
        stored.frames.push_back((key ? "K" : "-") + buffer.substr(0, size_t(n)));
    }
    stored.sound = buffer.substr(
        0, size_t(media_read_audio_range(&stored.media, 0, INT32_MAX, true, buffer.data(), buffer.size())));
    media_close(&stored.media);
    return stored;
}

static std::vector<std::string> frames_of(const std::vector<std::string>& paths) {
    std::vector<std::string> all;
    for (const std::string& path : paths) std::ranges::copy(stored_of(path).frames, std::back_inserter(all));
    return all;
}

static std::string sound_of(const std::vector<std::string>& paths) {
    std::string all;
    for (const std::string& path : paths) all += stored_of(path).sound;
    return all;
}

/// Number of frames in front of each chunk of sound, and its size.
static std::vector<std::pair<int, uint32_t>> sound_chunks(const std::string& path) {
    const std::string text = file_bytes(path);
    const BYTES bytes(text.begin(), text.end());
    std::vector<std::pair<int, uint32_t>> chunks;
    int frames = 0;
    for (size_t at = text.find("movi") + 4; at < bytes.size() && riff_code(bytes, at) != "idx1";) {
        const uint32_t size = riff_u32(bytes, at + 4);
        if (riff_code(bytes, at) == "01wb")
            chunks.emplace_back(frames, size);
        else
            ++frames;
        at += 8 + (size + 1) / 2 * 2;
    }
    return chunks;
}

static std::string told;         // texts of the boxes, one after the other
static bool answer;              // to every question
static int stop_at;              // frame at which the pump tells of Esc, -1 = never
static std::string cut_at_stop;  // file that shrinks instead
static int pumped;

struct ChainMix : EDIT_FIXTURE {
    SAMPLE_SETTINGS settings;
    CHAIN_DIALOG chain{};
    MIX_DIALOG mix{};

    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        message_silence(false);
        told = cut_at_stop = "";
        answer = false;
        stop_at = -1;
        pumped = 0;
        ui_hooks.warn = [](const char* text) { told += text; };
        ui_hooks.ask = [](const char* text) { return told += text, answer; };
        ui_hooks.pump = [] {
            if (pumped++ != stop_at) return false;
            if (cut_at_stop.empty()) return true;
            std::filesystem::resize_file(cut_at_stop, 100000);
            return false;
        };
        text_copy(chain.fields.output, PATH_SIZE, text_from_utf8(folder / "out.avi"));
        text_copy(mix.fields.output, PATH_SIZE, chain.fields.output);
        edit->audio_setting.interleave = 3;
    }
    void TearDown() override {
        ui_hooks = {};
        message_silence(true);
        EDIT_FIXTURE::TearDown();
    }
    std::string made(const char* name, int frames, int sample_rate = 8000, int width = 64, int rate = 30000) {
        return clip(name, {width, 48, rate, 1001, frames, 24, sample_rate, 0});
    }
    std::string made_by_ffmpeg(const char* name, const std::string& options) {
        ffmpeg_make("-f lavfi -i testsrc2=s=96x64:r=25:d=1.2 -f lavfi -i sine=r=16000:d=1.2 " + options + " " +
                    (folder / name));
        return folder / name;
    }
    static std::string packets(const std::string& path, const std::string& options) {
        return ffmpeg_run("-i " + path + " -c copy -map " + options + " -").text;
    }
    std::string out() const { return chain.fields.output; }
    int join(const std::vector<std::string>& paths) {
        chain.file_n = 0;
        for (const std::string& path : paths) chain_add(&chain, path.c_str());
        return avi_chain_run(edit, chain);
    }
    int put_together(const std::string& video, const std::string& sound) {
        text_copy(mix.video, PATH_SIZE, video);
        text_copy(mix.sound, PATH_SIZE, sound);
        return avi_mix_run(edit, mix);
    }
    void expect_joined(const std::vector<std::string>& paths) {
        EXPECT_EQ(told, "");
        EXPECT_TRUE(chain_mix_report().whole);
        EXPECT_EQ(frames_of({out()}), frames_of(paths));
        EXPECT_EQ(sound_of({out()}), sound_of(paths));
        for (const char* stream : {"0:v -f rawvideo", "0:a -f s16le"}) {
            std::string all;
            for (const std::string& path : paths) all += packets(path, stream);
            EXPECT_GT(all.size(), 1000u);
            EXPECT_TRUE(packets(out(), stream) == all) << stream;
        }
    }
};

TEST_F(ChainMix, JoinedFilesHoldTheBytesOfTheirSources) {
    const std::string a = made("a.avi", 7), b = made("b.avi", 4), c = made("c.avi", 1);
    std::snprintf(chain.fields.comment, sizeof chain.fields.comment, "joined");
    EXPECT_EQ(join({a, b, c}), 1);
    expect_joined({a, b, c});
    EXPECT_NE(file_bytes(out()).find("ICMT"), std::string::npos);
    std::vector<int> at;  // groups of 3 begin anew with each file, and the last one takes what is left
    for (const auto& chunk : sound_chunks(out())) at.push_back(chunk.first);
    EXPECT_EQ(at, (std::vector<int>{0, 3, 6, 7, 10, 11}));

    avi_writer_settings.part_limit = 30000;
    EXPECT_EQ(join({a, a, b}), 1);
    EXPECT_NE(file_bytes(out()).find("AVIX"), std::string::npos);
    expect_joined({a, a, b});
}

TEST_F(ChainMix, CompressedFilesAreCopied) {
    for (const char* codec : {"-c:v mjpeg -pix_fmt yuvj420p", "-c:v mpeg4 -vtag XVID -g 9 -bf 0"}) {
        const std::string a = made_by_ffmpeg("a.avi", codec);
        EXPECT_EQ(join({a, a}), 1);
        expect_joined({a, a});
        EXPECT_EQ(stored_of(out()).media.video_stream.fccHandler, stored_of(a).media.video_stream.fccHandler);
        EXPECT_EQ(ffmpeg_run("-i " + out() + " -f null -").error, "");
    }
    // packets of sound that have no size of their own stay chunks, so that their time is known
    const std::string mp3 = made_by_ffmpeg("m.avi", "-c:v mjpeg -c:a libmp3lame");
    EXPECT_EQ(put_together(mp3, mp3), 1);
    EXPECT_EQ(packets(out(), "0:a -f framecrc"), packets(mp3, "0:a -f framecrc"));
    EXPECT_EQ(join({mp3, mp3}), 1);
    EXPECT_TRUE(sound_of({out()}) == sound_of({mp3, mp3}));
    EXPECT_GT(sound_of({mp3}).size(), 1000u);
}

TEST_F(ChainMix, DifferentFilesAreAskedAbout) {
    const std::string a = made("a.avi", 5), wide = made("wide.avi", 4, 8000, 80),
                      fast = made("fast.avi", 4, 8000, 64, 60000);
    const std::string mjpg = made_by_ffmpeg("mjpg.avi", "-s 64x48 -c:v mjpeg");
    for (const std::string& other : {wide, mjpg}) {
        told.clear();
        EXPECT_EQ(join({a, a, other}), 0);
        EXPECT_EQ(told, language_string(STR_ASK_CHAIN_DIFFERS));
        EXPECT_FALSE(std::filesystem::exists(out()));
    }
    answer = true;
    EXPECT_EQ(join({a, wide}), 1);
    EXPECT_EQ(stored_of(out()).media.media_width, 64);
    EXPECT_EQ(packets(out(), "0:v -f rawvideo").size(), (5 * 64 + 4 * 80) * 48 * 3u);

    told.clear();
    EXPECT_EQ(join({a, fast}), 1);  // the rate of the first stands, without a question
    EXPECT_EQ(told, "");
    EXPECT_EQ(stored_of(out()).media.video_stream.dwRate, 30000u);
    EXPECT_EQ(sound_of({out()}), sound_of({a, fast}));

    EXPECT_EQ(join({a, made("mute.avi", 4, 0)}), 1);
    EXPECT_EQ(frames_of({out()}).size(), 9u);
    EXPECT_FALSE(stored_of(out()).media.media_flag & MEDIA_HAS_AUDIO);
}

TEST_F(ChainMix, SoundOfAnotherLength) {
    const std::string video = made("v.avi", 8, 0);
    const std::string shorter = made("s.avi", 2, 11025), longer = made("l.avi", 100, 11025);
    for (const std::string& sound : {shorter, longer}) {
        EXPECT_EQ(put_together(video, sound), 1);
        EXPECT_TRUE(chain_mix_report().whole);
        EXPECT_EQ(frames_of({out()}), frames_of({video}));
        EXPECT_EQ(sound_of({out()}), sound_of({sound}));
        EXPECT_EQ(stored_of(out()).media.audio_header.nSamplesPerSec, 11025u);
    }
    edit->audio_setting.interleave = 10;
    EXPECT_EQ(put_together(made("two.avi", 2), longer), 1);
    EXPECT_EQ(sound_chunks(out()), (std::vector{std::pair{0, uint32_t(sound_of({longer}).size())}}));
    const std::string wav = folder / "s.wav";
    ffmpeg_make("-i " + longer + " " + wav);
    EXPECT_EQ(put_together(video, wav), 1);
    EXPECT_EQ(sound_of({out()}), sound_of({longer}));
    EXPECT_EQ(told, "");
}

TEST_F(ChainMix, RefusalsLeaveFilesAlone) {
    const std::string a = made("a.avi", 4), mute = made("mute.avi", 4, 0), before = file_bytes(a);
    const auto refused = [&](int result, int text) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(told, language_string(text));
        told.clear();
    };
    text_copy(mix.fields.output, PATH_SIZE, a);
    refused(put_together(mute, a), STR_ERR_OUTPUT_IS_INPUT);
    std::filesystem::create_hard_link(a, folder / "link.avi");
    text_copy(chain.fields.output, PATH_SIZE, folder / "link.avi");
    refused(join({mute, a}), STR_ERR_OUTPUT_IS_INPUT);
    ASSERT_EQ(open_file(edit, a.c_str(), 0), 1);
    refused(put_together(mute, mute), STR_ERR_OUTPUT_IS_EDITED);
    EXPECT_EQ(file_bytes(a), before);
    text_copy(mix.fields.output, PATH_SIZE, folder / "out.avi");
    refused(put_together(a, mute), STR_ERR_OPEN_FAILED);
    refused(put_together(a, folder / "missing.wav"), STR_ERR_OPEN_FAILED);
    text_copy(chain.fields.output, PATH_SIZE, folder / "no" + "/out.avi");
    refused(join({a}), STR_ERR_CREATE_FAILED);
    EXPECT_EQ(avi_chain(edit), 0);  // nobody to show the dialog
}

TEST_F(ChainMix, LengthLimit) {
    const std::string a = made("a.avi", 512, 0), b = made("b.avi", 511, 0);
    frame_table_free();
    ASSERT_EQ(frame_table_alloc(1024), 1);
    EXPECT_EQ(join({a, a}), 0);
    EXPECT_NE(told.find("1024"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(out()));
    EXPECT_EQ(join({a, b}), 1);
    EXPECT_EQ(chain_mix_report().written, 1023);
}

TEST_F(ChainMix, StoppedAndFailedRunsLeaveAShorterFile) {
    const std::string a = made("a.avi", 40);
    const std::vector<std::string> all = frames_of({a, a});
    const auto expect_shorter = [&](int text, size_t least, size_t most) {
        EXPECT_EQ(told, language_string(text));
        EXPECT_FALSE(chain_mix_report().whole);
        EXPECT_FALSE(edit->edit_flag & EDIT_SAVING);
        const std::vector<std::string> kept = frames_of({out()});
        EXPECT_GE(kept.size(), least);
        EXPECT_LE(kept.size(), most);
        EXPECT_TRUE(std::equal(kept.begin(), kept.end(), all.begin()));
        told.clear();
    };
    {
        const SIZE_LIMIT limit(300000);
        EXPECT_EQ(join({a, a}), 1);
    }
    expect_shorter(STR_ERR_WRITE_FAILED, 25, 32);

    answer = true;
    stop_at = pumped + 50;
    EXPECT_EQ(join({a, a}), 1);
    expect_shorter(STR_ASK_STOP_OUTPUT, 50, 50);

    cut_at_stop = a;
    stop_at = pumped + 60;
    EXPECT_EQ(join({a, a}), 1);
    expect_shorter(STR_ERR_READ_FAILED, 60, 61);
}

TEST_F(ChainMix, FramesLargerThanAnyBuffer) {
    AVI_BUILD build;
    build.streams = {avi_video_stream(64, 48, 24, VANTEL_FOURCC('M', 'J', 'P', 'G'))};
    for (const size_t size : {size_t{25} << 20, size_t{3}, size_t{0}})
        build.chunks.push_back({0, "dc", BYTES(size, uint8_t(size >> 20 | 5)), size > 0});
    const TEMP_FILE big(avi_build(build), ".avi");
    EXPECT_EQ(join({big.path}), 1);
    EXPECT_EQ(told, "");
    EXPECT_TRUE(frames_of({out()}) == frames_of({big.path}));
    EXPECT_EQ(frames_of({out()})[0].size(), (size_t{25} << 20) + 1);
}
