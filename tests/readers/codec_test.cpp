#include <set>

#include "core/edit_fixture.h"
#include "core/ui_hooks.h"
#include "platform/ini.h"
#include "platform/video_codec.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "support/kernel_test.h"

static constexpr uint32_t YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2'), XVID = VANTEL_FOURCC('X', 'V', 'I', 'D');

struct Codec : EDIT_FIXTURE {
    VIDEO_CODEC_SETTING setting{};
    BITMAPINFOHEADER input{};
    uint32_t flags = 0, size = 0;  // of the frame compressed last

    // The settings file of the tests keeps the users' bits from one run to the next.
    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        for (int i = 0; i < codec_count(); ++i) codec_entry(i)->flags |= CODEC_OPTION_MASK;
    }

    bool begin(int key_rate, int data_rate) {
        codec_reset_setting(&setting, XVID);
        setting.key_rate = key_rate;
        setting.data_rate = data_rate;
        codec_input_format(XVID, &input, 96, 64);
        return compress_begin(&setting, input, 30, 1);
    }
    bool compress(std::vector<uint8_t>& picture) {
        flags = size = 0;
        return compress_frame(&setting, picture.data(), &flags, &size) != nullptr;
    }
};

TEST_F(Codec, TheTableKnowsWhatEachCodecCan) {
    const CODEC_ENTRY* xvid = codec_entry(codec_find(XVID | 0x20202020));
    ASSERT_NE(xvid, nullptr) << "codes compare in capital letters";
    EXPECT_EQ(xvid->flags & 0xFFFF, 0xFF07u) << "everything that a flag can say of a compressor";
    const CODEC_ENTRY* rgb = codec_entry(codec_find(VANTEL_FOURCC('U', 'L', 'R', 'G')));
    ASSERT_NE(rgb, nullptr);
    EXPECT_FALSE(rgb->flags & (CODEC_CAN_YUY2 | CODEC_HAS_QUALITY | CODEC_HAS_KEY_RATE | CODEC_HAS_DATA_RATE));
    EXPECT_TRUE(codec_is_pseudo(YUY2) && !codec_can_compress(YUY2));
    EXPECT_EQ(codec_find(VANTEL_FOURCC('d', 'i', 'b', ' ')), codec_count() - 1) << "uncompressed is the last entry";
    EXPECT_EQ(codec_find(YUY2), codec_count() - 2);
    EXPECT_EQ(codec_find(VANTEL_FOURCC('?', '?', '?', '?')), -1);
    for (const char* code : {"dvsd", "LAGS", "MPG4", "WMV1", "VP80", "MJ2C", "cvid", "FFV1", "H264"}) {
        BITMAPINFOHEADER header{sizeof header, 96, 96, 1, 24, 0, 0, 0, 0, 0, 0};
        std::memcpy(&header.biCompression, code, 4);
        const auto* bytes = reinterpret_cast<const uint8_t*>(&header);
        EXPECT_TRUE(video_decoder_open(header.biCompression, {bytes, sizeof header}, {})) << code;
    }
}

TEST_F(Codec, OptionsAndCapabilitiesAreRemembered) {
    CODEC_ENTRY* xvid = codec_entry(codec_find(XVID));
    xvid->flags &= ~uint32_t{CODEC_DECODE_YUY2};
    const uint32_t flags = xvid->flags;
    const std::string name = xvid->display_name;
    codec_system_exit();
    codec_system_init();
    xvid = codec_entry(codec_find(XVID));
    EXPECT_EQ(xvid->flags, flags);
    EXPECT_EQ(xvid->display_name, name);
    EXPECT_EQ(xvid->data_rate, CODEC_DATA_RATE_DEFAULT);
}

TEST_F(Codec, KeyFramesComeByRateOrAtTheStartAlone) {
    for (const auto& [key_rate, wanted] : {std::pair{30, std::set<size_t>{0, 30, 60}}, {0, {0}}}) {
        ASSERT_TRUE(begin(key_rate, 0));
        std::vector<uint8_t> picture(input.biSizeImage);
        for (size_t i = 0; i < 65; ++i) {
            for (size_t at = 0; at < picture.size(); ++at) picture[at] = uint8_t(at * at / 64 + i);
            ASSERT_TRUE(compress(picture));
            EXPECT_EQ(flags, wanted.count(i) * 16) << "frame " << i << " of rate " << key_rate;
        }
        compress_end(&setting);
    }
}

TEST_F(Codec, TheBudgetPassesFromFrameToFrame) {
    ASSERT_TRUE(begin(0, 100));
    EXPECT_EQ(setting.bytes_per_frame, 3413);
    std::vector<uint8_t> picture(input.biSizeImage, 128);
    ASSERT_TRUE(compress(picture));
    EXPECT_EQ(setting.budget, 3413 - int(size));
    setting.budget = -100000;
    ASSERT_TRUE(compress(picture));
    EXPECT_EQ(setting.budget, 1 - int(size)) << "a budget below 1 is raised to 1";
    compress_end(&setting);
    ASSERT_TRUE(begin(0, 0));
    ASSERT_TRUE(compress(picture));
    EXPECT_EQ(setting.budget, 0x7FFFFFFF - int(size));
    compress_end(&setting);
}

TEST_F(Codec, TheDialogEditsEntriesAndTakesOneWhenAgreed) {
    static bool agrees;
    for (const uint32_t unusable : {VANTEL_FOURCC('?', '?', '?', '?'), VANTEL_FOURCC('L', 'A', 'G', 'S')}) {
        codec_reset_setting(&setting, unusable);
        EXPECT_EQ(setting.handler, 0u) << "unknown, or only decompresses";
    }
    codec_reset_setting(&setting, XVID);
    setting.quality = 4200;
    ui_hooks.choose_video = [](CODEC_DIALOG* dialog) {
        EXPECT_EQ(dialog->choices[size_t(dialog->selected)], codec_find(XVID));
        EXPECT_EQ(codec_dialog_fields(dialog).quality, 42);
        codec_dialog_store(dialog, {200, -5, 77, false, false});
        EXPECT_EQ(codec_dialog_fields(dialog).quality, 100);
        EXPECT_TRUE(codec_dialog_set_state(dialog, "vantel codec 1 XVID\nmbd=rd\n"));
        const int xvid = dialog->selected;
        codec_dialog_select(dialog, int(dialog->choices.size()) - 1);
        EXPECT_STREQ(codec_dialog_name(dialog, dialog->selected), language_string(STR_CODEC_UNCOMPRESSED));
        EXPECT_EQ(codec_dialog_fields(dialog).data_rate, -1);
        EXPECT_EQ(codec_dialog_state(dialog), "");
        codec_dialog_select(dialog, xvid);
        return agrees;
    };
    EXPECT_FALSE(codec_choose_dialog(&setting));
    EXPECT_EQ(setting.quality, 4200);
    agrees = true;
    EXPECT_TRUE(codec_choose_dialog(&setting));
    EXPECT_EQ(setting.quality, 10000);
    EXPECT_EQ(setting.key_rate, 0);
    EXPECT_EQ(setting.data_rate, 77);
    const auto* state = reinterpret_cast<const char*>(setting.codec_state);
    EXPECT_NE(std::string(state, size_t(setting.codec_state_size)).find("mbd=rd"), std::string::npos);

    setting.handler = VANTEL_FOURCC('n', 'o', 'n', 'e');
    // uncompressed, as for anything unknown
    ui_hooks.choose_video = [](CODEC_DIALOG* dialog) { return dialog->selected == int(dialog->choices.size()) - 1; };
    EXPECT_TRUE(codec_choose_dialog(&setting));
    EXPECT_EQ(setting.handler, 0u);
    ui_hooks.choose_video = nullptr;
}

/// Every codec's frames by number are those of a run from the start, whatever was read before.
TEST_F(Codec, RandomAccessEqualsSequential) {
    for (const std::string codec :
         {"mpeg4 -vtag XVID -g 50 -bf 0", "mpeg4 -vtag DX50 -g 50 -bf 2", "libx264 -g 50 -bf 0", "libx264 -g 50 -bf 3",
          "msmpeg4v2 -g 50", "wmv2 -g 50", "huffyuv", "ffv1 -g 50", "utvideo", "mjpeg", "zmbv -g 50", "cinepak",
          "libvpx -g 50", "mpeg2video -g 18 -bf 2"}) {
        SCOPED_TRACE(codec);
        const std::string path = folder / "clip.avi";
        ffmpeg_make("-f lavfi -i testsrc2=rate=25:size=128x96 -frames:v 120 -c:v " + codec + " " + path);
        const auto record = std::make_unique<MEDIA_RECORD>();
        ASSERT_EQ(media_open(record.get(), text_from_utf8(path).c_str(), 0), 1);
        ASSERT_EQ(record->media_frames, 120);
        const auto read = [&](int f) {
            return std::string(reinterpret_cast<const char*>(media_read_frame(record.get(), f)),
                               record->video_header.biSizeImage);
        };
        std::vector<std::string> frames;
        for (int f = 0; f < 120; ++f) frames.push_back(read(f));
        EXPECT_GT(std::set<std::string>(frames.begin(), frames.end()).size(), 110u);
        RNG rng(7);
        for (int i = 0, f = 0; i < 60; ++i, f = rng.between(0, 119))
            ASSERT_TRUE(read(f) == frames[size_t(f)]) << "frame " << f;
        media_close(record.get());
    }
}
