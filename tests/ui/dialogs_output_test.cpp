#include "ui/dialogs_output.h"

#include <cstring>

#include "core/audio_conv.h"
#include "core/audio_format.h"
#include "main_fixture.h"
#include "output/save.h"
#include "output/save_dialog.h"
#include "output/save_flags.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"

namespace {

struct OutputDialogs : MAIN_FIXTURE {
    void SetUp() override {
        MAIN_FIXTURE::SetUp();
        open();
    }
};

constexpr uint32_t XVID = VANTEL_FOURCC('X', 'V', 'I', 'D'), FMP4 = VANTEL_FOURCC('F', 'M', 'P', '4');

void choose_program(WINDOW* dialog) {
    WINDOW *program = control_of(dialog, 32500), *quality = control_of(dialog, 32000);
    const auto rate = [dialog] { return control_value(control_of(dialog, 32002)); };
    EXPECT_EQ(rows_selected(program), rows_count(program) - 1) << "uncompressed is the last one";
    EXPECT_FALSE(window_enabled(quality) || window_enabled(control_of(dialog, 32300)));
    const int xvid = row_with(program, text_to_utf8(codec_name(XVID)));
    select(dialog, 32500, xvid);
    EXPECT_TRUE(window_enabled(quality));
    const int normal = control_value(quality);
    control_set_value(quality, normal - 10);
    put(dialog, 32002, 777);
    select(dialog, 32500, rows_count(program) - 1);
    EXPECT_EQ(control_text(quality), "");
    select(dialog, 32500, xvid);
    EXPECT_EQ(control_value(quality), normal - 10) << "each program keeps its own";
    EXPECT_EQ(rate(), 777);
    press(dialog, 32301);
    EXPECT_EQ(control_value(quality), normal);
    EXPECT_EQ(rate(), CODEC_DATA_RATE_DEFAULT);
    put(dialog, 32001, 12);
    press(dialog, 32302);
    press(dialog, 32300);
}

TEST_F(OutputDialogs, Compressor) {
    VIDEO_CODEC_SETTING* setting = &edit->video_setting;
    user = {agrees(choose_program), presses(ID_OK), agrees([](WINDOW* dialog) {
                WINDOW* choice = control_of(dialog, 32500);
                EXPECT_EQ(control_text(choice), "simple");
                rows_select(choice, row_with(choice, "rd"));
            })};
    EXPECT_TRUE(codec_choose_dialog(setting));
    EXPECT_EQ(setting->handler, XVID);
    EXPECT_EQ(setting->key_rate, 12);
    EXPECT_NE(std::strstr(reinterpret_cast<const char*>(setting->codec_state), "mbd=rd"), nullptr);
}

TEST_F(OutputDialogs, CodecOptionsAreStoredByOkAlone) {
    CODEC_ENTRY* entry = codec_entry(codec_find(XVID));
    const uint32_t before = entry->flags & CODEC_OPTION_MASK;
    for (const int answer : {ID_CANCEL, ID_OK}) {
        user = {[&](WINDOW* dialog) {
            select(dialog, 32600, row_with(control_of(dialog, 32600), text_to_utf8(entry->display_name)));
            check(dialog, 32201, !control_checked(control_of(dialog, 32201)));
            select(dialog, 32600, 0);
            press(dialog, answer);
        }};
        EXPECT_EQ(codec_options_dialog(), answer == ID_OK);
        EXPECT_EQ(entry->flags & CODEC_OPTION_MASK, answer == ID_OK ? before ^ CODEC_ENCODE_YUY2 : before);
    }
}

TEST_F(OutputDialogs, SoundFormat) {
    AUDIO_OUTPUT_SETTING* setting = &edit->audio_setting;
    int mp3 = -1;
    user = {[&](WINDOW* dialog) {
                WINDOW *kind = control_of(dialog, 32500), *list = control_of(dialog, 32600);
                EXPECT_TRUE(rows_text(list, rows_selected(list)).starts_with("PCM 44100 Hz, 16 bit"));
                select(dialog, 32500, row_with(kind, "MP3"));
                EXPECT_NE(rows_text(list, rows_selected(list)).find("44100"), std::string::npos);
                mp3 = rows_selected(list) + 1;
                rows_select(list, mp3);
                press(dialog, 32600, NOTE_ACTIVATED);
            },
            [&](WINDOW* dialog) {
                EXPECT_EQ(rows_selected(control_of(dialog, 32600)), mp3) << "opens at what is chosen";
                press(dialog, ID_CANCEL);
            },
            presses(ID_OK)};
    EXPECT_TRUE(audio_format_choose(setting, edit->base.audio_header));
    EXPECT_TRUE(setting->audio_flags & AUDIO_SETTING_CHOSEN);
    EXPECT_EQ(audio_format_head(setting->target_format).wFormatTag, 0x55);
    EXPECT_FALSE(audio_format_choose(setting, edit->base.audio_header));

    // What this machine does not offer can be kept.
    setting->target_format[4] ^= 1;  // an odd rate
    const uint32_t odd = audio_format_head(setting->target_format).nSamplesPerSec;
    EXPECT_TRUE(audio_format_choose(setting, edit->base.audio_header));
    EXPECT_EQ(audio_format_head(setting->target_format).nSamplesPerSec, odd);
}

TEST_F(OutputDialogs, NoWavFileOfAac) {
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.wav"));
    user = {agrees([](WINDOW* dialog) { press(dialog, 32301); }),
            agrees([](WINDOW* dialog) { select(dialog, 32500, row_with(control_of(dialog, 32500), "AAC")); }),
            presses(ID_OK)};  // the sound cannot be compressed like that
    EXPECT_EQ(save_run(edit, SAVE_REQ_WAV), 0);
    EXPECT_EQ(audio_format_head(edit->audio_setting.target_format).wFormatTag, 0xFF);
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
}

TEST_F(OutputDialogs, FilesToJoin) {
    CHAIN_DIALOG chain{};
    text_copy(chain.start, PATH_SIZE, clip("part8.avi"));
    clip("part9.avi");
    user = {agrees([&](WINDOW* dialog) {
                press(dialog, 32707);
                press(dialog, 32703);
                WINDOW* list = control_of(dialog, 32600);
                EXPECT_EQ(rows_count(list) * 10 + rows_selected(list), 32);
                rows_select(list, 0);
                press(dialog, 32704);
                EXPECT_EQ(rows_count(list) * 10 + rows_selected(list), 20);
                press(dialog, 32700);
                EXPECT_EQ(rows_count(list), 2) << "the question was answered with Cancel";
                put(dialog, 32101, std::string(256, 'c'));
                press(dialog, ID_OK);
                put(dialog, 32101, "注釈");
                put(dialog, 32104, folder / "出力.avi");
                press(dialog, 32304);
            }),
            presses(ID_OK),      // the file boxes of both buttons
            presses(ID_OK),      //
            presses(ID_CANCEL),  // the question of emptying the list
            presses(ID_OK),      // the text was too long
            presses(ID_OK)};     // the file box of the output
    EXPECT_TRUE(ui_hooks.chain_dialog(&chain));
    ASSERT_EQ(chain.file_n, 2);
    EXPECT_EQ(text_to_utf8(chain.file[0]), folder / "part9.avi");
    EXPECT_EQ(text_to_utf8(chain.fields.comment), "注釈");
    EXPECT_EQ(text_to_utf8(chain.fields.output), folder / "出力.avi");
}

TEST_F(OutputDialogs, FilesToMix) {
    MIX_DIALOG mix{};
    const std::string video = clip("part8.avi");
    text_copy(mix.video, PATH_SIZE, video);
    user = {agrees([](WINDOW* dialog) {
                press(dialog, 32305);
                put(dialog, 32106, "s.wav");
            }),
            presses(ID_OK)};  // the file box
    EXPECT_TRUE(ui_hooks.mix_dialog(&mix));
    EXPECT_EQ(mix.video, video);
    EXPECT_STREQ(mix.sound, "s.wav");
}

TEST_F(OutputDialogs, SaveOptionsOutliveACancelledBox) {
    edit->base.video_stream.fccHandler = VANTEL_FOURCC('M', 'P', '4', 'V');  // compressed under another name
    user = {[&](WINDOW* dialog) {
                EXPECT_NE(control_text(control_of(dialog, 32406)).find("64x48  30.000fps"), std::string::npos);
                check(dialog, 32202, true);
                check(dialog, 32201, true);
                EXPECT_FALSE(window_enabled(control_of(dialog, 32301)) || window_enabled(control_of(dialog, 32203)));
                check(dialog, 32200, true);
                EXPECT_EQ(control_text(control_of(dialog, 32400)), text_to_utf8(codec_name(FMP4)));
                put(dialog, 32000, 5);
                press(dialog, 32000, NOTE_CHANGED);
                press(dialog, 32303);
                press(dialog, ID_CANCEL);
            },
            types(32100, "題名")};
    EXPECT_EQ(save_run(edit, 0), 0);
    EXPECT_TRUE(edit->edit_flag & EDIT_SAVE_LOG);
    EXPECT_EQ(edit->audio_setting.interleave, 5);
    EXPECT_TRUE(edit->audio_setting.audio_flags & AUDIO_SETTING_NONE);
    EXPECT_TRUE(edit->video_setting.setting_flags & VIDEO_SETTING_COPY);
    EXPECT_EQ(edit->video_setting.handler, FMP4);
    EXPECT_EQ(text_to_utf8(edit->ex_title), "題名");

    user = {[](WINDOW* dialog) {
        for (const int id : {32000, 32200, 32201, 32204, 32300, 32303, 32400, 32406})
            EXPECT_FALSE(window_enabled(control_of(dialog, id))) << id << " is of pictures";
        press(dialog, ID_CANCEL);
    }};
    EXPECT_EQ(save_run(edit, SAVE_REQ_WAV), 0);
}

TEST_F(OutputDialogs, BatchButtonCountsOnlyForItsOwnAnswer) {
    clip("out.avi");
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.avi"));
    const auto run = [&](std::vector<USER_STEP> steps, int result, uint32_t wanted) {
        uint32_t request = 0;
        user = std::move(steps);
        EXPECT_EQ(save_option_dialog(edit, &request), result);
        EXPECT_EQ(request, wanted);
    };
    // "overwrite?" is refused, and the box comes again
    run({presses(32302), presses(ID_CANCEL), presses(ID_OK), presses(ID_OK)}, 1, 0);
    run({presses(32302), presses(ID_OK)}, 1, SAVE_REQ_ADD_TO_BATCH);
    EXPECT_EQ(text_to_utf8(edit->save_name), folder / "out.avi");
    text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / ""));  // no name
    run({presses(32302), presses(ID_CANCEL)}, 0, 0);
}

}  // namespace
