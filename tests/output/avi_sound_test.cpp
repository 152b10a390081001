#include <cmath>

#include "core/audio_conv.h"
#include "core/media.h"
#include "output/avi_sample.h"
#include "platform/audio_codec.h"
#include "readers/input_table.h"

/// Saves with a chosen sound format, judged by ffmpeg and read back by the program itself.

static constexpr int RATE = 44100, FRAMES = 90, FRAME_SAMPLES = RATE / 30;

static BYTES tone() {
    BYTES bytes(FRAMES * FRAME_SAMPLES * 4);
    for (size_t i = 0; i < bytes.size() / 2; ++i) {
        const double t = double(i / 2);
        bytes_put_u16(bytes, i * 2, uint16_t(int(9000 * std::sin(t * 0.05) + 4000 * std::sin(t * 0.011))));
    }
    return bytes;
}

static std::vector<AUDIO_CODEC_CHOICE> choices() {
    std::vector<AUDIO_CODEC_CHOICE> some;
    for (const AUDIO_CODEC_CHOICE& choice : audio_codec_choices(RATE, 2)) {
        // of each kind the best, which comes last
        const auto tag = [](const AUDIO_CODEC_CHOICE& c) { return audio_format_head(c.format).wFormatTag; };
        if (!some.empty() && tag(some.back()) == tag(choice)) some.pop_back();
        some.push_back(choice);
    }
    return some;
}

static void save(const std::string& path, const std::vector<uint8_t>& format, uint32_t flags, const BYTES& sound) {
    std::unique_ptr<SAVE_CONTEXT> context = sample_context();
    context->audio_header = {1, 2, RATE, RATE * 4, 4, 16, 0};
    context->video_stream.dwScale = 1;
    context->video_stream.dwRate = 30;
    context->converter.audio_flags = AUDIO_SETTING_CHOSEN | AUDIO_SETTING_FINAL_OPEN;  // a stale bit
    std::memcpy(context->converter.target_format, format.data(), format.size());
    context->converter.target_format_size = int32_t(format.size());
    ASSERT_EQ(AVI_OK, avi_open(context.get(), path.c_str(), flags | SAVE_AUDIO | SAVE_AUDIO_COMPRESS, nullptr, 0));
    const BYTES picture(SAMPLE_WIDTH * SAMPLE_HEIGHT * 3, 99);
    const size_t piece = FRAME_SAMPLES * 4;
    for (size_t f = 0; f < FRAMES; ++f) {
        ASSERT_EQ(AVI_OK, avi_put_audio(context.get(), sound.data() + f * piece, piece));
        ASSERT_EQ(AVI_OK, avi_put_frame(context.get(), picture.data(), nullptr));
    }
    ASSERT_EQ(AVI_OK, avi_put_audio(context.get(), nullptr, 0));
    ASSERT_EQ(1, avi_close(context.get()));
}

/// The smallest mean difference of the middle of two sounds, over the delays that decoders have.
static double best_difference(const std::string& got, const BYTES& want) {
    const auto value = [](const auto& bytes, size_t i) {
        return int16_t(uint8_t(bytes[i * 4]) | bytes[i * 4 + 1] << 8);
    };
    double best = 1e9;
    for (size_t lag = 0; lag < 2600; ++lag) {
        double sum = 0;
        for (size_t i = RATE; i < RATE + 600; ++i)
            sum += (i + lag + 1) * 4 <= got.size() ? std::abs(value(got, i + lag) - value(want, i)) : 30000;
        best = std::min(best, sum / 600);
    }
    return best;
}

static std::string decoded(const std::string& path) {
    const COMMAND_OUTPUT run = ffmpeg_run("-i " + path + " -vn -f s16le -c:a pcm_s16le -");
    EXPECT_EQ(run.error, "");
    return run.text;
}

/// All frames of sound in turn, as an edit reads them; some once more, out of their turn.
static std::string read_here(const std::string& path, bool exact) {
    auto record = std::make_unique<MEDIA_RECORD>();
    EXPECT_EQ(media_open(record.get(), path.c_str(), LOAD_NO_VIDEO), 1);
    EXPECT_TRUE(record->media_flag & MEDIA_HAS_AUDIO);
    record->video_stream.dwRate = 30;
    record->video_stream.dwScale = 1;
    std::string frame(FRAME_SAMPLES * 4, 0), all;
    for (int n = 0; n < FRAMES; ++n) {
        EXPECT_EQ(media_read_audio(record.get(), n, 1, frame.data(), frame.size(), nullptr), int(frame.size()));
        all += frame;
    }
    for (const int n : {70, 3, 40}) {
        media_read_audio(record.get(), n, 1, frame.data(), frame.size(), nullptr);
        EXPECT_TRUE(!exact || all.substr(size_t(n) * frame.size(), frame.size()) == frame) << n;
    }
    media_close(record.get());
    return all;
}

TEST(AviSound, ChosenFormatsPlayElsewhereAndHere) {
    const TEMP_FOLDER_PATH folder;
    const BYTES sound = tone();
    input_table_init();
    for (const AUDIO_CODEC_CHOICE& choice : choices()) {
        SCOPED_TRACE(choice.name);
        const uint16_t tag = audio_format_head(choice.format).wFormatTag;
        const std::string avi = folder / "out.avi", wave = folder / "out.wav";
        ASSERT_NO_FATAL_FAILURE(save(avi, choice.format, SAVE_VIDEO, sound));
        const std::string pcm = decoded(avi);
        EXPECT_NEAR(double(pcm.size()), double(sound.size()), 4 * 8192);
        EXPECT_LT(best_difference(pcm, sound), 600);
        EXPECT_LT(best_difference(read_here(avi, tag != 0x2000), sound), 600);  // AC-3 decoders add noise
        if (tag == 0xFF) continue;  // the packets of AAC have no borders in a WAV file
        ASSERT_NO_FATAL_FAILURE(save(wave, choice.format, SAVE_WAV_FILE, sound));
        EXPECT_LT(best_difference(decoded(wave), sound), 600);
    }
    input_table_exit();
}

TEST(AviSound, PcmOfAnotherKindIsConverted) {
    const TEMP_FOLDER_PATH folder;
    const BYTES sound = tone();
    const std::string path = folder / "out.wav";
    ASSERT_NO_FATAL_FAILURE(save(path, avi_sound_format(1, 2, RATE, 24), SAVE_WAV_FILE, sound));
    EXPECT_EQ(decoded(path), std::string(sound.begin(), sound.end()));
    EXPECT_EQ(file_bytes(path).size(), 12 + 8 + 18 + 8 + sound.size() / 2 * 3);
}
