#include "audio/pcm_model.h"
#include "core/audio_conv.h"
#include "core/edit_fixture.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "platform/audio_codec.h"
#include "platform/clock.h"

struct MediaSound : EDIT_FIXTURE {
    MEDIA_RECORD record{};
    BYTES buffer = BYTES(4 << 20);

    void TearDown() override {
        media_close(&record);
        EDIT_FIXTURE::TearDown();
    }
    void open(const BYTES& format, const BYTES& bytes) {
        media_close(&record);
        ASSERT_EQ(media_open(&record, wave("sound.wav", format, bytes).c_str(), 0), 1);
    }
    BYTES read(int n, int count) {
        const int bytes = media_read_audio(&record, n, count, buffer.data(), buffer.size(), nullptr);
        return {buffer.begin(), buffer.begin() + bytes};
    }
};

static BYTES format_bytes(const WAVEFORMATEX& format) {
    const auto* p = reinterpret_cast<const uint8_t*>(&format);
    return {p, p + sizeof format};
}

TEST_F(MediaSound, PcmStreamsThroughTheConverter) {
    const WAVEFORMATEX edit_format = pcm_format(48000, 2, 16);
    for (const WAVEFORMATEX& stored : {pcm_format(22050, 1, 8), pcm_format(44100, 2, 24), pcm_format(96000, 2, 32)}) {
        const BYTES bytes = bytes_pattern(size_t(stored.nAvgBytesPerSec) * 2, stored.nAvgBytesPerSec);
        open(format_bytes(stored), bytes);
        const WAVEFORMATEX own = pcm_format(stored.nSamplesPerSec, stored.nChannels, 16);
        EXPECT_EQ(std::memcmp(&record.audio_header, &own, sizeof own), 0);
        EXPECT_EQ(read(0, -1), pcm_model(bytes, stored, own));
        media_match_audio(&record, &edit_format, &edit_format);
        const BYTES want = pcm_model(bytes, stored, edit_format);
        BYTES got;
        for (int n = 0; n < 60; ++n) {
            const int measured = media_measure_audio(&record, n, 1, nullptr);
            const BYTES frame = read(n, 1);
            EXPECT_EQ(size_t(measured) * 4, frame.size()) << n;
            got.insert(got.end(), frame.begin(), frame.end());
        }
        EXPECT_EQ(got, want);
        media_read_audio(&record, 0, 0, nullptr, 0, nullptr);  // anew
        got.clear();
        for (int skip = 0, n = 1; n > 0; skip += n / 4) {  // the whole in pieces that fit
            n = media_read_audio_part(&record, 0, -1, skip, buffer.data(), 999, nullptr);
            got.insert(got.end(), buffer.begin(), buffer.begin() + n);
        }
        EXPECT_EQ(got, want);
        EXPECT_EQ(media_read_audio_part(&record, 5, 1, 7, buffer.data(), 999, nullptr), 0);
    }
}

TEST_F(MediaSound, MeasuringAheadAgreesWithReading) {
    const WAVEFORMATEX stored = pcm_format(44100, 1, 8), target = pcm_format(9000, 2, 16);
    open(format_bytes(stored), bytes_pattern(100000, 5));
    media_match_audio(&record, &target, &target);
    read(3, 2);
    AUDIO_MEASURE now, fresh;
    media_measure_now(&now, &record);
    media_measure_reset(&fresh);
    std::mt19937 rng(6);
    std::vector<int> frames(50);
    for (int& n : frames) n = int(rng() % 70);
    for (AUDIO_MEASURE* measure : {&now, &fresh}) {
        std::vector<int> ahead;
        for (const int n : frames) ahead.push_back(media_measure_audio_next(measure, &record, n, 1 + n % 3, nullptr));
        for (size_t i = 0; i < frames.size(); ++i)
            EXPECT_EQ(read(frames[i], 1 + frames[i] % 3).size(), size_t(ahead[i]) * 4);
        media_read_audio(&record, 0, 0, nullptr, 0, nullptr);
    }
}

// All speakers at one level give that level.
TEST_F(MediaSound, EightChannelsAreMixedDown) {
    BYTES whole, real;
    for (int i = 0; i < 44100 * 8; ++i) {
        whole.insert(whole.end(), {0x00, 0x20});
        real.insert(real.end(), {0, 0, 0x80, 0x3E});  // 0.25
    }
    const BYTES want(whole.begin(), whole.begin() + 44100 / 30 * 4);
    for (const bool is_real : {false, true}) {
        open(avi_sound_format(is_real ? 3 : 1, 8, 44100, is_real ? 32 : 16), is_real ? real : whole);
        EXPECT_EQ(read(3, 1), want);
    }
}

// ---- compressed sources

/// Sound that a lossy codec keeps well enough to be found again: a slow sweep.
static BYTES sweep(double seconds) {
    BYTES bytes;
    for (int i = 0; i < int(44100 * seconds); ++i) {
        const double t = i / 44100.0;
        const int value = int(12000 * std::sin(2 * 3.14159265 * (200 + 150 * t) * t));
        for (int c = 0; c < 2; ++c) bytes.insert(bytes.end(), {uint8_t(value), uint8_t(value >> 8)});
    }
    return bytes;
}

static BYTES encoded(const BYTES& pcm, const BYTES& format) {
    AUDIO_OUTPUT_SETTING setting{};
    std::memcpy(setting.target_format, format.data(), format.size());
    setting.target_format_size = int32_t(format.size());
    EXPECT_EQ(audio_conv_open(&setting, format_bytes(pcm_format(44100, 2, 16))), 1);
    BYTES out;
    for (size_t at = 0, n = 0;; at += n) {
        n = std::min<size_t>(pcm.size() - at, 40000);
        size_t size = 0;
        const uint8_t* got = audio_conv_run(&setting, n ? &pcm[at] : nullptr, n, &size);
        if (n == 0 && size == 0) break;
        out.insert(out.end(), got, got + size);
    }
    audio_conv_close(&setting);
    return out;
}

/// The mean difference of two frames' values; a lag of one sample makes it some hundred in the sweep.
static double difference(const BYTES& a, const BYTES& b) {
    if (a.size() != b.size() || a.empty()) return 1e9;
    double sum = 0;
    for (size_t i = 0; i + 1 < a.size(); i += 2)
        sum += std::abs(int16_t(a[i] | a[i + 1] << 8) - int16_t(b[i] | b[i + 1] << 8));
    return sum / (double(a.size()) / 2);
}

// Every frame has its exact samples, read in any order: what a jump gives is what reading through gives.
TEST_F(MediaSound, CompressedSoundIsReadByPosition) {
    const uint32_t rate = 44100;
    const BYTES pcm = sweep(5);
    uint16_t last = 0;
    for (const AUDIO_CODEC_CHOICE& choice : audio_codec_choices(rate, 2)) {
        SCOPED_TRACE(choice.name);
        const uint16_t tag = audio_format_head(choice.format).wFormatTag;
        if (tag == 0xFF || tag == std::exchange(last, tag)) continue;  // packets of AAC need an AVI file
        open(choice.format, encoded(pcm, choice.format));
        for (const uint32_t delivered : {rate, 48000u, 22050u}) {
            const WAVEFORMATEX target = pcm_format(delivered, 2, 16);
            media_match_audio(&record, &target, &target);
            std::vector<BYTES> frames;
            for (int n = 0; n < 150; ++n) {
                EXPECT_EQ(media_measure_audio(&record, n, 1, nullptr), int(delivered / 30));
                frames.push_back(read(n, 1));
                ASSERT_EQ(frames.back().size(), delivered / 30 * 4) << n;
            }
            const double limit = tag == 0x2000 ? 50 : 0;  // decoders of AC-3 make noise of their own
            for (const int n : {149, 0, 77, 78, 30, 31, 29, 120, 3, 2, 1})
                EXPECT_LE(difference(read(n, 1), frames[size_t(n)]), limit) << delivered << " " << n;
            EXPECT_EQ(read(20, 5).size(), delivered / 6 * 4);
            EXPECT_EQ(read(1000, 1).size(), 0u);
            EXPECT_EQ(size_t(media_measure_audio(&record, 140, -1, nullptr)) * 4, read(140, -1).size());
        }
    }
}

// ---- files that lie

static const AUDIO_CODEC_CHOICE& mp3_choice() {
    static const std::vector<AUDIO_CODEC_CHOICE> choices = audio_codec_choices(44100, 2);
    return *std::ranges::find_if(choices, [](const AUDIO_CODEC_CHOICE& choice) {
        const WAVEFORMATEX head = audio_format_head(choice.format);
        return head.wFormatTag == 0x55 && head.nAvgBytesPerSec == 16000;
    });
}

TEST_F(MediaSound, DamagedMp3KeepsWhatComesLaterInPlace) {
    const BYTES mp3 = encoded(sweep(4), mp3_choice().format);
    open(mp3_choice().format, mp3);
    const BYTES wanted = read(90, 1);
    std::mt19937 rng(11);
    for (const size_t spacing : {1500u, 200u, 7u}) {
        BYTES hurt = mp3;
        for (size_t at = 10000; at < 20000; at += 1 + rng() % spacing) hurt[at] = uint8_t(rng());
        open(mp3_choice().format, hurt);
        for (int n = 0; n < 90; ++n) EXPECT_EQ(read(n, 1).size(), 44100u / 30 * 4);
        EXPECT_LE(difference(read(90, 1), wanted), 30) << spacing;
    }
}

// Reading is the fuzzer's; here what was opened is saved as well, without a crash or a wait.
TEST_F(MediaSound, FormatsThatLieAreSaved) {
    constexpr int64_t PATIENCE_MS = 20000;  // for one file, with sanitizers on a busy machine
    const auto survives = [&](const BYTES& format, const BYTES& bytes) {
        const int64_t start = clock_ms();
        if (open_file(edit, wave("bad.wav", format, bytes).c_str(), 0) == 1) {
            edit->select_end = std::min(edit->frame_n - 1, 99);
            text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.wav"));
            edit->output_kind = OUTPUT_KIND_WAV;
            EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), edit->base.media_flag & MEDIA_HAS_AUDIO ? 1 : 0);
            close_edit(edit);
        }
        EXPECT_LT(clock_ms() - start, PATIENCE_MS);
    };
    const BYTES pcm = sweep(1), mp3 = encoded(pcm, mp3_choice().format);
    for (const BYTES& bytes : {bytes_pattern(5000, 3), BYTES()}) survives(mp3_choice().format, bytes);
    static constexpr std::pair<size_t, uint32_t> LIES[] = {{4, 1},  {4, 0x7FFFFFFF}, {8, 0},        {8, 0xFFFFFFFF},
                                                           {12, 0}, {12, 0xFFFFFF},  {12, 0x100007}};
    for (const auto& [at, value] : LIES) {  // rate, bytes a second, block and bits
        SCOPED_TRACE(std::to_string(at) + ": " + std::to_string(value));
        BYTES formats[] = {mp3_choice().format, format_bytes(pcm_format(44100, 2, 16))};
        for (BYTES& format : formats) bytes_put_u32(format, at, value);
        survives(formats[0], mp3);
        survives(formats[1], pcm);
    }
}
