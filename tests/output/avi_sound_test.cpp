#include <cmath>

#include "core/audio_conv.h"
#include "core/media.h"
#include "output/avi_sample.h"
#include "platform/audio_codec.h"
#include "readers/input_table.h"
#include "support/command.h"

/// Saves with a chosen sound format, judged by ffmpeg and read back by the program itself.

static constexpr int RATE = 44100, FRAMES = 90, FRAME_SAMPLES = RATE / 30;

static BYTES tone() {
    BYTES bytes;
    for (int i = 0; i < FRAMES * FRAME_SAMPLES; ++i) {
        const int value = int(9000 * std::sin(i * 0.05) + 4000 * std::sin(i * 0.011));
        for (int c = 0; c < 2; ++c) {
            bytes.push_back(uint8_t(value));
            bytes.push_back(uint8_t(value >> 8));
        }
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
    context->video_stream = {};
    context->video_stream.dwScale = 1;
    context->video_stream.dwRate = 30;
    context->converter.audio_flags = AUDIO_SETTING_CHOSEN | AUDIO_SETTING_FINAL_OPEN;  // a stale bit
    std::memcpy(context->converter.target_format, format.data(), format.size());
    context->converter.target_format_size = int32_t(format.size());
    ASSERT_EQ(AVI_OK, avi_open(context.get(), path.c_str(), flags, nullptr, 0));
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
    const auto value = [](const void* bytes, size_t i) {
        int16_t v;
        std::memcpy(&v, static_cast<const uint8_t*>(bytes) + i * 4, 2);
        return int{v};
    };
    double best = 1e9;
    for (size_t lag = 0; lag < 2600; ++lag) {
        double sum = 0;
        for (size_t i = RATE; i < RATE + 600; ++i)
            sum +=
                (i + lag + 1) * 4 <= got.size() ? std::abs(value(got.data(), i + lag) - value(want.data(), i)) : 30000;
        best = std::min(best, sum / 600);
    }
    return best;
}

static std::string decoded(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    const COMMAND_OUTPUT run = command_run({"ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", path, "-vn", "-f",
                                            "s16le", "-c:a", "pcm_s16le", folder / "sound.pcm"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "");
    return file_bytes(folder / "sound.pcm");
}

TEST(AviSound, ChosenFormatsPlayElsewhereAndHere) {
    const TEMP_FOLDER_PATH folder;
    const BYTES sound = tone();
    input_table_init();
    for (const AUDIO_CODEC_CHOICE& choice : choices()) {
        SCOPED_TRACE(choice.name);
        const bool aac = audio_format_head(choice.format).wFormatTag == 0xFF;
        const std::string path = folder / "out.avi";
        ASSERT_NO_FATAL_FAILURE(save(path, choice.format, SAVE_VIDEO | SAVE_AUDIO | SAVE_AUDIO_COMPRESS, sound));
        const std::string pcm = decoded(folder, path);
        EXPECT_NEAR(double(pcm.size()), double(sound.size()), 4 * 8192);
        EXPECT_LT(best_difference(pcm, sound), 600);

        auto record = std::make_unique<MEDIA_RECORD>();
        ASSERT_EQ(media_open(record.get(), path.c_str(), LOAD_NO_VIDEO), 1);
        ASSERT_TRUE(record->media_flag & MEDIA_HAS_AUDIO);
        record->video_stream.dwRate = 30;
        record->video_stream.dwScale = 1;
        std::string own;
        std::vector<char> frame(FRAME_SAMPLES * 4);
        for (int n = 0; n < FRAMES; ++n) {
            EXPECT_EQ(media_read_audio(record.get(), n, 1, frame.data(), frame.size(), nullptr), int(frame.size()));
            own.append(frame.begin(), frame.end());
        }
        EXPECT_LT(best_difference(own, sound), 600);
        const bool noisy = audio_format_head(choice.format).wFormatTag == 0x2000;  // AC-3 decoders add noise
        for (const int n : {70, 3, 40}) {
            media_read_audio(record.get(), n, 1, frame.data(), frame.size(), nullptr);
            const std::string again(frame.begin(), frame.end());
            EXPECT_TRUE(noisy || own.substr(size_t(n) * frame.size(), frame.size()) == again) << n;
        }
        media_close(record.get());
        if (aac) continue;  // its packets have no borders in a WAV file
        const std::string wave = folder / "out.wav";
        ASSERT_NO_FATAL_FAILURE(save(wave, choice.format, SAVE_AUDIO | SAVE_WAV_FILE | SAVE_AUDIO_COMPRESS, sound));
        EXPECT_LT(best_difference(decoded(folder, wave), sound), 600);
    }
    input_table_exit();
}

TEST(AviSound, PcmOfAnotherKindIsConverted) {
    const TEMP_FOLDER_PATH folder;
    const BYTES sound = tone();
    const std::string path = folder / "out.wav";
    const WAVEFORMATEX format = {1, 2, RATE, RATE * 6, 6, 24, 0};
    std::vector<uint8_t> bytes(16);
    std::memcpy(bytes.data(), &format, 16);
    ASSERT_NO_FATAL_FAILURE(save(path, bytes, SAVE_AUDIO | SAVE_WAV_FILE | SAVE_AUDIO_COMPRESS, sound));
    EXPECT_EQ(decoded(folder, path), std::string(sound.begin(), sound.end()));
    EXPECT_EQ(file_bytes(path).size(), 12 + 8 + 16 + 8 + sound.size() / 2 * 3);
}
