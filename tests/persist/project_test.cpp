#include "core/command_line.h"
#include "core/history.h"
#include "core/image_clip.h"
#include "core/media.h"
#include "platform/file.h"
#include "project_fixture.h"

static std::string answer, asked;
static int questions;

static std::string bytes_of(const void* data, size_t n) { return {static_cast<const char*>(data), n}; }

TEST_F(Project, SmallProjectIsTheseBytes) {
    open("a.avi", {64, 48, 30, 1, 3, 24, 0, 0});
    text_copy(edit->profile_name[0], PATH_SIZE, "nothing stored");
    text_copy(edit->save_name, PATH_SIZE, "out.avi");
    kept = "aaaaab";
    edit->frame_n = 2;
    frame_table.frame_flag[1] = FRAME_MARK;
    ASSERT_EQ(project_save(edit, path.c_str()), 1);
    EXPECT_EQ(edit->project_name[0], 0);
    auto record = std::make_unique<EDIT_STATE>(*edit);
    record->base.media_handle = record->base.read_buffer = 0;
    record->source[0].media.media_handle = record->source[0].media.read_buffer = 0;
    using std::string_literals::operator""s;
    const std::string want = head_and_record(*record) + number(2) + "\x84\0\4\1\0\0\0\x84\0\4\1\0\0\0"s +  // references
                             "\x88\0\x88\0"s +                                                             // measures
                             "\2\0\0\2\0\1\2\0\2\2\0\0\2\0\0\2\0\0"s +  // inter .. clip
                             number(0) + marker() +
                             "FilterProject 0.1\0\6\0\0\0store\0\6\0\0\0\x85"
                             "a\1b"s;
    const std::string got = file_bytes(folder / "p.vtp");
    EXPECT_TRUE(got == want) << got.size() << " bytes, not " << want.size();
    EXPECT_LT(got.size(), 4000u);
    PROJECT_HEAD head;
    ASSERT_TRUE(project_peek(path.c_str(), &head));
    EXPECT_STREQ(head.save_name, "out.avi");
    text_copy(head.save_name, PATH_SIZE, "other.avi");
    const int file = file_open_update(path.c_str());
    EXPECT_TRUE(project_put_head(file, &head));
    file_close(file);
    std::string changed = want;
    std::memcpy(&changed[36 + 264], "other.avi", 10);
    EXPECT_TRUE(file_bytes(folder / "p.vtp") == changed);
}

// Everything an edit can hold goes out and comes back.
TEST_F(Project, RichEditComesBack) {
    open("a.avi", SMALL);
    open("b.avi", {80, 60, 15, 1, 10, 0, 22050, 0}, OPEN_APPEND);
    open("sound.avi", {32, 32, 30, 1, 30, 24, 44100, 0}, OPEN_SOUND);
    open("gone.avi", SMALL, OPEN_APPEND);
    edit->frame_n = 35;  // and with it the frames of the last file
    for (int f = 0; f < 35; ++f) {
        frame_table.frame_inter[f] = uint8_t(f % 6);
        frame_table.frame_flag[f] = uint8_t(f * 7);
        frame_table.frame_profile[f] = uint8_t(f % 3);
        frame_table.frame_compress[f] = uint8_t(f % 4);
        frame_table.frame_field_metric[f] = uint32_t(f) << 16 | 3;
    }
    frame_entry_copy(4, 25);
    edit->frame = 7, edit->select_start = 5, edit->select_end = 30;
    edit->frame_video_setting[3].quality = 4321;
    edit->edit_flag |= EDIT_SAVE_LOG;
    for (int i = 0; i < 3; ++i) {
        profile_make_current(std::array{"one", "<g>two", "three"}[size_t(i)]);
        track() = 10 + i;
        text_copy(edit->profile_name[i], PATH_SIZE, profile_current());
    }
    constexpr size_t picture = sizeof(IMAGE_CLIP) + 64 * 3 * 48;
    auto* image = static_cast<IMAGE_CLIP*>(std::calloc(1, picture));
    image->header = {40, 64, 48, 1, 24, 0, 0, 0, 0, 0, 0};
    for (size_t i = sizeof(IMAGE_CLIP); i < picture; ++i) reinterpret_cast<uint8_t*>(image)[i] = uint8_t(i * i);
    const std::string image_bytes = bytes_of(image, picture);
    edit->clip[9] = handle_new(image);
    frame_table.frame_clip[12] = 9;
    kept = std::string(3000000, 'x') + "end";
    ASSERT_EQ(project_save(edit, path.c_str()), 1);
    EXPECT_EQ(edit->source[3].path[0], 0);
    const std::string saved = file_bytes(folder / "p.vtp");
    const auto before = std::make_unique<EDIT_STATE>(*edit);
    std::vector<std::string> frames;
    for (const PROJECT_COLUMN& column : project_columns()) frames.push_back(bytes_of(column.data, column.width * 35));
    ASSERT_EQ(close_edit(edit), 1);
    frame_table_clear();
    track() = 99;
    profile_store();  // the profile on disk moves on, the project's own stays
    edit->view.zoom = 5;
    ASSERT_EQ(project_load(edit, path.c_str(), 0), 1);
    EXPECT_TRUE(is_open() && warned.empty());
    EXPECT_EQ(edit->view.zoom, 5);
    EXPECT_STREQ(history_entry(0), path.c_str());
    for (size_t i = 0; i < 10; ++i)
        EXPECT_TRUE(bytes_of(project_columns()[i].data, project_columns()[i].width * 35) == frames[i]) << i;
    EXPECT_EQ(frame_table.frame_video[35], 0u);
    EXPECT_EQ(edit->frame * 10000 + edit->select_start * 100 + edit->select_end, 70530);
    EXPECT_EQ(edit->frame_video_setting[3].quality, 4321);
    EXPECT_TRUE(edit->edit_flag & EDIT_SAVE_LOG);
    EXPECT_TRUE(bytes_of(handle_get(edit->clip[9]), picture) == image_bytes);
    EXPECT_TRUE(given == kept);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(edit->profile_name[i], "#temp" + std::to_string(i));
        profile_make_current(edit->profile_name[i]);
        EXPECT_EQ(track(), 10 + i);
        const MEDIA_RECORD &was = before->source[i].media, &is = edit->source[i].media;
        EXPECT_EQ(is.media_flag, was.media_flag) << i;
        EXPECT_EQ(bytes_of(&is.video_stream, sizeof is.video_stream), bytes_of(&was.video_stream, 140)) << i;
        EXPECT_EQ(bytes_of(&is.audio_header, sizeof is.audio_header), bytes_of(&was.audio_header, 18)) << i;
    }
    EXPECT_FALSE(edit->source[2].media.media_flag & MEDIA_HAS_VIDEO);
    EXPECT_NE(media_read_frame(&edit->source[1].media, 3), nullptr);

    // Stored again it differs in the names of the profiles alone; and an own profile may be kept.
    ASSERT_EQ(close_edit(edit), 1);
    system_settings.projectonfig = 1;
    ASSERT_EQ(project_load(edit, path.c_str(), OPEN_INNER), 1);
    EXPECT_STREQ(edit->profile_name[1], "<g>two");
    ASSERT_EQ(close_edit(edit), 1);
    ASSERT_EQ(project_load(edit, path.c_str(), OPEN_INNER_BATCH), 1);
    EXPECT_STREQ(edit->profile_name[1], "#temp1");
    EXPECT_TRUE(file_bytes(folder / "p.vtp") == saved);
}

TEST_F(Project, WhatAFileSaysIsHeldToItsLimits) {
    const std::string a = clip("a.avi", SMALL);
    auto record = record_of(a);
    record->edit_flag = ~0u & ~uint32_t{EDIT_OPEN};
    for (char* text : {record->file_name, record->save_name, record->project_name}) std::memset(text, 'a', PATH_SIZE);
    record->frame_n = record->frame = 1 << 30;
    record->select_start = -5;
    record->select_end = record->select_anchor = INT32_MAX;
    record->shown_image = record->shown_pixels = record->shown_wave = 1;
    record->base.media_flag = MEDIA_HAS_AUDIO | MEDIA_DECODER_OPEN;
    record->base.audio_format_size = record->base.video_format_size = INT32_MAX;
    record->source[0].media.media_flag |= MEDIA_OPEN | MEDIA_DECODER_OPEN | MEDIA_CONVERTER_OPEN;
    record->source[0].media.media_handle = record->source[0].media.read_buffer = 0x10001;
    record->source[5].media.media_flag = ~0u;
    record->frame_video_setting[5].codec_state_size = INT32_MAX;
    record->output_kind = 77;
    ASSERT_EQ(load(head_and_record(*record) + columns(4, 0xC7) + marker()), 1);
    EXPECT_EQ(edit->edit_flag & (EDIT_OPEN | EDIT_SAVING | 0x130000), 0x30000u | EDIT_OPEN);
    EXPECT_EQ(std::strlen(edit->file_name), 259u);
    EXPECT_EQ((std::array{edit->frame_n, edit->frame, edit->select_start, edit->select_end}), (std::array{4, 3, 0, 3}));
    EXPECT_EQ(edit->shown_image | edit->shown_pixels | edit->shown_wave, 0u);
    EXPECT_EQ(edit->base.media_flag & (MEDIA_HAS_AUDIO | MEDIA_DECODER_OPEN), 0u);
    EXPECT_EQ(edit->base.audio_format_size, FORMAT_SIZE_MAX);
    EXPECT_EQ(edit->source[5].media.media_flag, 0u);
    EXPECT_EQ(edit->frame_video_setting[5].codec_state_size, 16384);
    EXPECT_EQ(edit->output_kind, OUTPUT_KIND_AVI);
    EXPECT_EQ(frame_table.frame_video[2], 0xFFFFFF00u);  // source 0, number -256
    EXPECT_EQ(frame_table.frame_inter[2] | frame_table.frame_profile[2] | frame_table.frame_clip[2], 0);
    EXPECT_LT(frame_table.frame_compress[2], FRAME_SETTING_MAX);

    // Files that are not projects, each for one reason.
    record = record_of(a);
    const auto with = [&](auto&& change) {
        auto other = record_of(a);
        change(*other);
        return head_and_record(*other) + columns(2, 0) + marker();
    };
    const std::string good = with([](EDIT_STATE&) {});
    EXPECT_EQ(load(good + std::string("FilterProject 0.1\0\2\0\0\0x\0\0\0\0\0", 28)), 1);
    EXPECT_TRUE(given.empty());
    const std::string bad[] = {
        "",
        good + "F",
        good + std::string("FilterProject 0.1\0\2\0\0\0x\0\xFF\xFF\xFF\xFF", 28),
        head_and_record(*record) + columns(0, 0) + marker(),
        head_and_record(*record) + columns(320001, 0) + marker(),
        head_and_record(*record) + columns(2, 0) + marker().substr(1) + 'x',
        with([](EDIT_STATE& r) { r.width = 31; }),
        with([](EDIT_STATE& r) { r.height = -5; }),
        with([](EDIT_STATE& r) { r.source[0].path[0] = 0; }),
    };
    for (const std::string& bytes : bad) {
        warned.clear();
        EXPECT_EQ(load(bytes), 0);
        EXPECT_EQ(warned, std::vector<std::string>{"このファイルには対応していません。"}) << &bytes - bad;
        EXPECT_FALSE(is_open());
    }
    for (const auto& large : {with([](EDIT_STATE& r) { r.width = 1281; }),
                              with([](EDIT_STATE& r) { r.source[0].media.media_height = 721; })}) {
        EXPECT_EQ(load(large), 0);
        EXPECT_NE(warned.back().find("1280x720"), std::string::npos);
    }
}

// Damage to every part of the whole is the fuzzer's; here each length once.
TEST_F(Project, ACutFileOpensAllOrNothing) {
    auto record = record_of(clip("a.avi", {64, 48, 30, 1, 3, 24, 8000, 0}));
    record->profile_name[2][0] = 'p';
    record->clip[3] = 1;
    const std::string good = head_and_record(*record) + columns(3, 0) + number(2) + "cf" + number(3) + "clp" +
                             marker() + std::string("FilterProject 0.1\0\6\0\0\0store\0\3\0\0\0\3abc", 36);
    for (size_t size = 0; size <= good.size(); ++size) {
        const bool whole = load(good.substr(0, size)) == 1;
        ASSERT_EQ(whole, size == good.size() || size == good.size() - 36) << size;  // without a filter's block
        ASSERT_EQ(whole, is_open() && edit->frame_n == 3 && (edit->source[0].media.media_flag & MEDIA_OPEN)) << size;
        if (whole) close_edit(edit);
    }
    EXPECT_EQ(given, "abc");
}

TEST_F(Project, AMissingSourceIsAskedFor) {
    const std::string a = open("a.avi", SMALL), b = open("b.avi", {80, 60, 15, 1, 10, 24, 0, 0}, OPEN_APPEND);
    ASSERT_EQ(project_save(edit, path.c_str()), 1);
    ASSERT_TRUE(file_delete(b.c_str()));
    questions = 0;
    ui_hooks.relink = [](RELINK_DIALOG* dialog) {
        asked = dialog->missing;
        text_copy(dialog->path, PATH_SIZE, ++questions == 1 ? asked + "x" : answer);
        return !answer.empty();
    };
    answer = a;
    ASSERT_EQ(project_load(edit, path.c_str(), 0), 1);
    EXPECT_EQ(questions, 2);  // the first answer does not exist either
    EXPECT_EQ(asked, b + "x");
    EXPECT_EQ(edit->source[1].media.media_width, 64);
    answer.clear();
    EXPECT_EQ(project_load(edit, path.c_str(), 0), 0);
    for (const SOURCE_SLOT& slot : edit->source) EXPECT_EQ(slot.media.media_flag | uint32_t(slot.path[0]), 0u);
    EXPECT_TRUE(warned.empty());

    // With nobody there the reason is told, and nothing is asked.
    questions = 0;
    message_boxes_off();
    testing::internal::CaptureStderr();
    EXPECT_EQ(project_load(edit, path.c_str(), 0), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("b.avi"), std::string::npos);
    message_boxes_on();
    EXPECT_EQ(questions, 0);
}

TEST_F(Project, SavingAsksAndTellsAndResumes) {
    EXPECT_EQ(project_save(edit, path.c_str()), 0);
    open("a.avi", SMALL);
    answer = path;
    ui_hooks.file_dialog = [](FILE_DIALOG* dialog) {
        asked = dialog->path;
        return text_copy(dialog->path, PATH_SIZE, answer) && !answer.empty();
    };
    EXPECT_EQ(project_save(edit, nullptr), 1);
    EXPECT_EQ(asked, text_from_utf8(folder / "a.vtp"));
    answer = text_from_utf8(folder / "no/p.vtp");
    EXPECT_EQ(project_save(edit, nullptr), 0);
    EXPECT_STREQ(edit->project_name, path.c_str());
    EXPECT_EQ(warned.back(), "ファイルの作成に失敗しました。");

    // A name on the command line.
    const std::string line[] = {folder / "p.vtp", "-r3,5"};
    EXPECT_TRUE(run_command_line(edit, line).done);
    EXPECT_EQ(edit->select_end, 4);

    // The edit of one run is the next one's.
    const std::string resume = settings_folder_file("vantel.vtp");
    ASSERT_EQ(project_load(edit, path.c_str(), 0), 1);
    settings_write_int("editresume", 1);
    system_settings.editresume = 1;
    shut_down();
    ASSERT_TRUE(file_exists(resume.c_str()));
    start();
    EXPECT_EQ(is_open() ? edit->frame_n : 0, 20);
    EXPECT_NE(edit->shown_image, 0u);
    close_edit(edit);
    shut_down();
    EXPECT_FALSE(file_exists(resume.c_str()));
    start();
    settings_write_int("editresume", 0);
}
