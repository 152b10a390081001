#include "core/audio_conv.h"

#include <gtest/gtest.h>

#include "audio/pcm_model.h"
#include "core/audio_format.h"
#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "platform/audio_codec.h"
#include "support/avi_builder.h"

static std::span<const uint8_t> bytes_of(const WAVEFORMATEX& format) {
    return {reinterpret_cast<const uint8_t*>(&format), sizeof format};
}

static int open_to(AUDIO_OUTPUT_SETTING* setting, std::span<const uint8_t> from, std::span<const uint8_t> to) {
    std::ranges::copy(to, setting->target_format);
    setting->target_format_size = int32_t(to.size());
    return audio_conv_open(setting, from);
}

struct AudioConv : testing::Test {
    AUDIO_OUTPUT_SETTING setting{};
    void TearDown() override { audio_conv_close(&setting); }

    void open(std::span<const uint8_t> from, std::span<const uint8_t> to) { ASSERT_EQ(open_to(&setting, from, to), 1); }
    /// What the bytes give in pieces; none are given to drain the stages.
    BYTES run(const BYTES& bytes, size_t piece) {
        BYTES out;
        for (size_t at = 0, n = 1; bytes.empty() ? n > 0 : at < bytes.size(); at += piece) {
            const size_t size = bytes.empty() ? 0 : std::min(piece, bytes.size() - at);
            const uint8_t* got = audio_conv_run(&setting, size ? &bytes[at] : nullptr, size, &n);
            EXPECT_NE(got, nullptr);
            out.insert(out.end(), got, got + n);
        }
        return out;
    }
};

TEST_F(AudioConv, OneSoftwareStage) {
    const WAVEFORMATEX from = pcm_format(22050, 1, 24), to = pcm_format(44100, 2, 16);
    const BYTES bytes = bytes_pattern(3 * 5000, 1);
    open(bytes_of(from), bytes_of(to));
    EXPECT_TRUE(audio_conv_is_soft(&setting));
    EXPECT_EQ(run(bytes, 300), pcm_model(bytes, from, to));
    EXPECT_TRUE(run({}, 0).empty());
    size_t n = 1;
    const BYTES large(audio_conv_block_max(&setting) + 3);
    EXPECT_EQ(audio_conv_run(&setting, large.data(), large.size(), &n), nullptr);
}

// Bits and ids of a record that was loaded or copied are no open stages.
TEST_F(AudioConv, StaleRecordsAreNotOpen) {
    size_t n;
    uint8_t block[4] = {};
    setting.audio_flags = AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_FIRST_OPEN | AUDIO_SETTING_CHOSEN;
    setting.final_stream = setting.first_stream = 1;
    EXPECT_EQ(audio_conv_run(&setting, block, 4, &n), nullptr);
    open(bytes_of(pcm_format(8000, 2, 16)), bytes_of(pcm_format(16000, 2, 16)));
    EXPECT_EQ(setting.audio_flags, uint32_t{AUDIO_SETTING_FINAL_OPEN | AUDIO_SETTING_CHOSEN});
    AUDIO_OUTPUT_SETTING copy = setting;
    EXPECT_EQ(audio_conv_run(&copy, block, 4, &n), nullptr);
    audio_conv_close(&copy);
    EXPECT_NE(audio_conv_run(&setting, block, 4, &n), nullptr);
    EXPECT_EQ(open_to(&copy, bytes_of(pcm_format(8000, 2, 16)), bytes_of(pcm_format(8000, 3, 16))), 0);
    EXPECT_EQ(copy.audio_flags & 3, 0u);
}

// PCM goes to the codec's rate and channels in software first, and a decoder comes before a change of rate.
TEST_F(AudioConv, TwoStages) {
    const WAVEFORMATEX from = pcm_format(22050, 1, 16), middle = pcm_format(8000, 2, 16);
    const BYTES bytes = bytes_pattern(2 * 4000, 2), law = avi_sound_format(6, 2, 8000, 8);
    open(bytes_of(from), law);
    EXPECT_EQ(setting.audio_flags & 3, 3u);
    EXPECT_EQ(std::memcmp(&setting.middle_format, &middle, sizeof middle), 0);
    BYTES encoded = run(bytes, 514);
    const BYTES rest = run({}, 0);
    encoded.insert(encoded.end(), rest.begin(), rest.end());
    open(bytes_of(middle), law);
    EXPECT_EQ(run(pcm_model(bytes, from, middle), 4000), encoded);
    open(law, bytes_of(middle));
    EXPECT_FALSE(audio_conv_is_soft(&setting));
    const BYTES decoded = run(encoded, 100);
    ASSERT_EQ(decoded.size(), encoded.size() * 2);
    const WAVEFORMATEX to = pcm_format(44100, 1, 16);
    open(law, bytes_of(to));
    EXPECT_EQ(setting.audio_flags & 3, 3u);
    EXPECT_EQ(run(encoded, 77 * 2), pcm_model(decoded, middle, to));
    audio_conv_skip(&setting, 10);
    ASSERT_EQ(audio_conv_reset(&setting), 1);
    audio_conv_skip(&setting, 10);  // decoded samples, in front of the change of rate
    EXPECT_EQ(run(encoded, 128), pcm_model(BYTES(decoded.begin() + 40, decoded.end()), middle, to));
}

TEST_F(AudioConv, ChoosingAFormat) {
    static BYTES answer;
    static int start_size;
    const WAVEFORMATEX edit = pcm_format(44100, 2, 16);
    EXPECT_FALSE(audio_format_choose(&setting, edit));  // nobody to ask
    ui_hooks.choose_audio = [](AUDIO_FORMAT_DIALOG* dialog) {
        start_size = dialog->start_size;
        std::ranges::copy(answer, dialog->chosen);
        dialog->chosen_size = int(answer.size());
        return !answer.empty();
    };
    EXPECT_FALSE(audio_format_choose(&setting, edit));
    EXPECT_EQ(start_size, 18);
    answer = avi_sound_format(2, 2, 44100, 4);
    answer[16] = 32;  // more extra bytes than came back
    EXPECT_FALSE(audio_format_choose(&setting, edit));
    EXPECT_EQ(setting.audio_flags, 0u);
    ui_hooks.choose_audio = nullptr;
    EXPECT_EQ(audio_format_name(avi_sound_format(0x7777, 1, 8000, 8)).size(), 4u);  // two double bytes
}
