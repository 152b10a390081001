#include "core/audio_conv.h"

#include <gtest/gtest.h>

#include <cstring>

#include "audio/pcm_model.h"
#include "core/audio_format.h"
#include "core/edit_state.h"
#include "core/ui_hooks.h"
#include "platform/audio_codec.h"
#include "support/avi_builder.h"

static std::span<const uint8_t> bytes_of(const WAVEFORMATEX& format) {
    return {reinterpret_cast<const uint8_t*>(&format), sizeof format};
}
static BYTES a_law(uint32_t rate, uint16_t channels) { return avi_sound_format(6, channels, rate, 8); }

static void set_target(AUDIO_OUTPUT_SETTING* setting, std::span<const uint8_t> format) {
    std::memcpy(setting->target_format, format.data(), format.size());
    setting->target_format_size = int32_t(format.size());
}

struct AudioConv : testing::Test {
    AUDIO_OUTPUT_SETTING setting{};
    void TearDown() override { audio_conv_close(&setting); }

    void open(std::span<const uint8_t> from, std::span<const uint8_t> to) {
        set_target(&setting, to);
        ASSERT_EQ(audio_conv_open(&setting, from), 1);
    }
    BYTES run(const BYTES& bytes, size_t piece) {
        BYTES out;
        size_t n = 0;
        for (size_t at = 0; at < bytes.size(); at += piece) {
            const uint8_t* got = audio_conv_run(&setting, &bytes[at], std::min(piece, bytes.size() - at), &n);
            EXPECT_NE(got, nullptr);
            out.insert(out.end(), got, got + n);
        }
        return out;
    }
    BYTES drain() {
        BYTES out;
        for (size_t n = 1; n > 0;) {
            const uint8_t* got = audio_conv_run(&setting, nullptr, 0, &n);
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
    EXPECT_TRUE(drain().empty());
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
    set_target(&copy, bytes_of(pcm_format(8000, 3, 16)));
    EXPECT_EQ(audio_conv_open(&copy, bytes_of(pcm_format(8000, 2, 16))), 0);
    EXPECT_EQ(copy.audio_flags & 3, 0u);
}

// PCM goes to the codec's rate and channels in software first, and a decoder comes before a change of rate.
TEST_F(AudioConv, TwoStages) {
    const WAVEFORMATEX from = pcm_format(22050, 1, 16), middle = pcm_format(8000, 2, 16);
    const BYTES bytes = bytes_pattern(2 * 4000, 2), law = a_law(8000, 2);
    open(bytes_of(from), law);
    EXPECT_EQ(setting.audio_flags & 3, 3u);
    EXPECT_EQ(std::memcmp(&setting.middle_format, &middle, sizeof middle), 0);
    BYTES encoded = run(bytes, 514);
    const BYTES rest = drain();
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

// ---- names and choice

static AUDIO_FORMAT_DIALOG offered;
static BYTES answer;
static bool choose(AUDIO_FORMAT_DIALOG* dialog) {
    offered = *dialog;
    std::copy(answer.begin(), answer.end(), dialog->chosen);
    dialog->chosen_size = int(answer.size());
    return !answer.empty();
}

TEST_F(AudioConv, ChoosingAFormat) {
    const WAVEFORMATEX edit = pcm_format(44100, 2, 16);
    EXPECT_FALSE(audio_format_choose(&setting, edit));  // nobody to ask
    ui_hooks.choose_audio = choose;
    answer = {};
    EXPECT_FALSE(audio_format_choose(&setting, edit));
    EXPECT_EQ(offered.start_size, 18);
    answer = avi_sound_format(2, 2, 44100, 4);
    answer[16] = 32;  // more extra bytes than came back
    EXPECT_FALSE(audio_format_choose(&setting, edit));
    EXPECT_EQ(setting.audio_flags, 0u);
    ui_hooks.choose_audio = nullptr;
    EXPECT_EQ(audio_format_name(avi_sound_format(0x7777, 1, 8000, 8)).size(), 4u);  // two double bytes
}
