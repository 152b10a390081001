#include "core/edit_commands.h"

#include "core/edit_commands_clip.h"
#include "core/edit_commands_undo.h"
#include "core/edit_fixture.h"
#include "core/edit_model.h"
#include "core/profile.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"
#include "resources/string_ids.h"

static constexpr CLIP SMALL = {64, 48, 30, 1, 40, 24, 44100, 0};

static bool answer, held[2];
static RANGE_DIALOG range_typed;
static CLIPBOARD_PICTURE clipboard;
using STOPS = std::vector<int>;

struct EditCommands : EDIT_FIXTURE {
    void SetUp() override {
        EDIT_FIXTURE::SetUp();
        answer = true;
        held[UI_SHIFT] = held[UI_CTRL] = false;
        ui_hooks.ask = [](const char*) { return answer; };
        ui_hooks.modifier_down = [](UI_MODIFIER key) { return held[key]; };
        ui_hooks.ask_range = [](RANGE_DIALOG* dialog) { return *dialog = range_typed, true; };
        ui_hooks.choose_video = [](CODEC_DIALOG* dialog) {  // one step more quality
            const int quality = std::max(codec_dialog_fields(dialog).quality, 0);
            const int xvid = codec_find(VANTEL_FOURCC('X', 'V', 'I', 'D'));
            const auto at = std::find(dialog->choices.begin(), dialog->choices.end(), xvid);
            codec_dialog_select(dialog, int(at - dialog->choices.begin()));
            codec_dialog_store(dialog, {quality + 1, 0, 0, false, false});
            return answer;
        };
        message_silence(false);
        system_settings.compprofile = 0;
    }
    void TearDown() override {
        ui_hooks = {};
        message_silence(true);
        EDIT_FIXTURE::TearDown();
    }
    int run(int id, int parameter = 0) { return edit_command_run(edit, id, parameter); }
    void open() { ASSERT_EQ(open_file(edit, clip("a.avi", SMALL).c_str(), 0), 1); }
    /// Where a command goes, time after time, until it stays.
    STOPS stops(int id, int from) {
        STOPS all;
        for (run(EDIT_COMMAND_MOVE_TO, from);; all.push_back(edit->frame)) {
            const int before = edit->frame;
            EXPECT_EQ(run(id), EDIT_COMMAND_REDRAW);
            if (edit->frame == before || all.size() > 100) return all;
        }
    }
};

/// One random edit beside the model of it.
struct RANDOM_EDIT {
    EDIT_STATE* edit;
    std::string file;  // of SMALL.frames frames
    std::mt19937 random{7};
    EDIT_MODEL model = {};
    std::map<int, int> ran = {};  // how often each command did what it should

    int below(int n) { return int(random() % unsigned(n)); }
    int run(int id, int parameter = 0) {
        ++ran[id];
        return edit_command_run(edit, id, parameter);
    }
    void open() {
        ASSERT_EQ(open_file(edit, file.c_str(), 0), 1);
        std::snprintf(edit->profile_name[3], PATH_SIZE, "third");
        model = {};
        model.append(0, SMALL.frames);
        model.frame = 0;
    }
    void select() {
        int a = below(model.n()), b = below(4) ? std::min(a + below(30), model.n() - 1) : below(model.n());
        range_typed = {a + system_settings.startframe, b + system_settings.startframe};
        run(5115);
        model.start = a, model.end = std::max(a, b);
    }
    void move() {
        const int typed = below(model.n() + 4) - 2;
        const int at = model.frame, last = model.n() - 1;
        const std::pair<int, int> ways[] = {
            {EDIT_COMMAND_MOVE_TO, typed}, {9002, at + 1}, {9001, at - 1}, {5396, 0}, {5397, last}};
        const auto& [id, to] = ways[random() % 5];
        held[UI_SHIFT] = model.shift = below(4) == 0;
        run(id, typed);
        model.move(to);
        held[UI_SHIFT] = model.shift = false;
    }
    void set_end() {
        const bool start = below(2);
        run(start ? 5110 : 5111);
        (start ? model.start : model.end) = model.frame;
        if (model.end < model.start) (start ? model.end : model.start) = model.frame;
        model.anchor = 0;
    }
    void set_frame() {
        EDIT_MODEL::ENTRY& e = model.list[size_t(model.frame)];
        static constexpr int TOGGLES[][2] = {
            {5129, FRAME_KEY}, {5130, FRAME_MARK}, {5132, FRAME_DROP}, {5156, FRAME_COPY}};
        const int k = below(4);
        switch (below(4)) {
            case 0: run(TOGGLES[k][0]), e.flag ^= TOGGLES[k][1]; break;
            case 1: run(5196 + k), e.inter = k; break;
            case 2: run(5206 + k), e.profile = k == 0 || k == 3 ? k : e.profile; break;
            default: frame_table.frame_flag[model.frame] |= 0xF0, e.flag |= 0xF0;  // as analysis would
        }
    }
    void set_compression() {
        int index = 1;
        while (std::any_of(model.list.begin(), model.list.end(), [&](auto& e) { return e.compress == index; })) ++index;
        run(5126);
        if (index < 64)
            for (int i = model.start; i <= model.end; ++i) model.list[size_t(i)].compress = index;
    }
    void copy() {
        run(1020);
        const EDIT_MODEL::ENTRY& e = model.list[size_t(model.frame)];
        model.clipboard_filled = true, model.clipboard_video = e.video, model.clipboard_clip = e.clip;
    }
    void append() {
        const int source = model.free_source();
        if (model.n() > 1024 - SMALL.frames || source >= SOURCE_MAX) return;
        ++ran[5100];
        ASSERT_EQ(open_file(edit, file.c_str(), OPEN_APPEND), 1);
        model.append(source, SMALL.frames);
    }
    void remove() {
        const bool everything = model.selected() == model.n();
        answer = below(10) == 0;
        run(5101);
        if (!everything || answer) model.remove();
        answer = true;
        if (model.n() > 0) return;
        EXPECT_FALSE(edit->edit_flag & EDIT_OPEN);
        EXPECT_EQ(run(5147), EDIT_COMMAND_REFUSED);
        open();
    }
    void paste(bool frame) {
        run(frame ? 5117 : 5184);
        // The clipboard's picture may have been the last of its source.
        if (!edit->source[frame_ref_source(model.clipboard_video)].path[0]) return;
        frame ? model.paste(model.frame, 1) : model.paste(model.start, model.selected());
    }
    void step() {
        switch (below(11)) {
            case 0: return move();
            case 1: return select();
            case 2: return set_end();
            case 3: return set_frame();
            case 4: return copy();
            case 5: return paste(below(2));
            case 6: return append();
            case 7: return below(4) ? select() : (run(5143), model.cut());
            case 8: return remove();
            case 9: return run(5147), model.undo();
            default: return below(3) ? (run(5112), model.select_all()) : set_compression();
        }
    }
};

TEST_F(EditCommands, RandomEditsAreThoseOfAPlainList) {
    frame_table_free();
    ASSERT_EQ(frame_table_alloc(1024), 1);  // small enough for edits that are too large to undo
    RANDOM_EDIT random{edit, clip("a.avi", SMALL)};
    random.open();
    int undone = 0, too_large = 0, largest = 0;
    for (int i = 0; i < 20000; ++i) {
        const bool available = undo_available();
        random.step();
        ASSERT_TRUE(same_edit(random.model, edit)) << "step " << i;
        ASSERT_EQ(undo_available(), random.model.undo_kind != EDIT_MODEL::NO_UNDO) << "step " << i;
        ASSERT_EQ(frame_clipboard_filled(), random.model.clipboard_filled) << "step " << i;
        undone += available && !undo_available();
        too_large += random.model.undo_kind == EDIT_MODEL::NO_UNDO && !random.model.undo_list.empty() &&
                     int(random.model.undo_list.size()) > 1024 - 10 - edit->frame_n;
        largest = std::max(largest, edit->frame_n);
    }
    EXPECT_GT(undone, 100);
    EXPECT_GT(too_large, 5);
    EXPECT_GT(largest, 700);
    for (const int id : {5143, 5101, 5147, 5117, 5184, 5100, 5126, 9002, 5110}) EXPECT_GT(random.ran[id], 20) << id;
}

TEST_F(EditCommands, UndoKeepsWhatFitsBehindTheFrames) {
    open();
    edit->frame_n = frame_limit() - 100;
    for (const int n : {90, 91}) {  // ten rows are kept between
        undo_save(edit, 0, n, 0);
        EXPECT_EQ(undo_available(), n == 90) << n;
    }
    edit->frame_n = SMALL.frames;
    // A record that frames were written over is no record.
    range_typed = {11, 20};
    run(5115), run(5101);
    edit->frame_n = frame_limit() - 5;
    run(5147);
    EXPECT_FALSE(undo_available());
    EXPECT_EQ(edit->frame_n, frame_limit() - 5);
    edit->frame_n = 30;
}

TEST_F(EditCommands, NothingRunsWithoutAnEditOrDuringASave) {
    for (const int id : {5101, 5112, 9002, 1020, 5147, 5398}) EXPECT_EQ(run(id), EDIT_COMMAND_REFUSED) << id;
    EXPECT_EQ(run(5100), EDIT_COMMAND_UNKNOWN);
    EXPECT_FALSE(edit_command_known(5195));
    EXPECT_EQ(move_to(edit, 3), 0);
    open();
    edit->edit_flag |= EDIT_SAVING;
    for (const int id : {5397, 5127}) EXPECT_EQ(run(id), EDIT_COMMAND_REFUSED) << id;
    edit->edit_flag &= ~uint32_t{EDIT_SAVING};
    // Without anybody to ask, dialogs are cancelled.
    ui_hooks = {};
    const EDIT_MODEL before = EDIT_MODEL::of(edit);
    for (const int id : {5115, 5131, 5125, 5126, 5127, 5128, 5398, 5123, 5101, 1026, 1070, 1090}) run(id);
    EXPECT_TRUE(same_edit(before, edit));
}

TEST_F(EditCommands, MovementsStopWhereTheyShould) {
    open();
    for (const int f : {7, 12, 13}) frame_table.frame_flag[f] = FRAME_MARK;
    std::fill_n(frame_table.frame_profile + 5, 4, uint8_t{2});
    std::fill_n(frame_table.frame_compress + 30, 10, uint8_t{1});
    frame_table.frame_video[20] = frame_table.frame_video[19];
    edit->select_start = 3;
    edit->select_end = 33;
    system_settings.moveB = 17;
    system_settings.moveD = INT32_MIN;  // far backward is far forward when it is turned round
    ui_hooks.ask_frame = [](int* shown) { return *shown = 18, true; };
    const struct {
        int id, from;
        bool ctrl;
        STOPS want;
    } rows[] = {
        {5178, 0, false, {7, 12, 13, 39}},
        {5179, 39, false, {13, 12, 7, 0}},
        {5176, 0, false, {5, 9, 30, 39}},
        {5177, 39, false, {30, 9, 5, 0}},
        {5170, 0, false, {20, 21, 39}},  // 20 repeats, and 21 does not follow a 20
        {5171, 39, false, {21, 20, 0}},
        // Every frame of this file is a key frame, so none begins anything.
        {9002, 0, true, {3, 5, 7, 9, 12, 13, 30, 33, 39}},
        {9001, 39, true, {33, 30, 13, 12, 9, 7, 5, 3, 0}},
        {5189, 0, false, {17, 34, 39}},
        {5190, 39, false, {22, 5, 0}},
        {5194, 5, false, {39}},
        {5193, 5, false, {0}},
        {5103, 9, false, {3}},
        {5104, 9, false, {33}},
        {5131, 0, false, {18 - system_settings.startframe}},
    };
    for (const auto& row : rows) {
        held[UI_CTRL] = row.ctrl;
        EXPECT_EQ(stops(row.id, row.from), row.want) << row.id;
    }
    held[UI_CTRL] = false;
    // 24 frames a second: of each five, counted from the selection's start, the marked one is dropped.
    filter_select(filter_built_in(STR_FILTER_RATE_CHANGE), 1);
    edit->select_start = 0;
    const STOPS saved = stops(5142, 0), back = stops(5141, 39);
    EXPECT_TRUE(saved.size() > 25 && saved.size() < 35) << saved.size();
    for (const int f : saved) EXPECT_TRUE(f == 0 || f == saved.back() || std::count(back.begin(), back.end(), f)) << f;
}

TEST_F(EditCommands, KeyFramesOfTheSource) {
    AVI_BUILD build{.streams = {avi_video_stream(32, 32, 24, 0)}, .chunks = {}};
    for (int f = 0; f < 20; ++f) build.chunks.push_back({0, "db", bytes_pattern(32 * 32 * 3, 1), f % 6 == 0});
    const TEMP_FILE file(avi_build(build), ".avi");
    ASSERT_EQ(open_file(edit, file.name(), 0), 1);
    EXPECT_EQ(stops(5174, 0), (STOPS{6, 12, 18}));
    EXPECT_EQ(stops(5175, 19), (STOPS{18, 12, 6, 0}));
    held[UI_CTRL] = true;
    EXPECT_EQ(stops(9002, 0), (STOPS{6, 12, 18, 19}));
    held[UI_CTRL] = false;
    frame_table.frame_video[3] = frame_ref_make(0, -1);
    frame_table.frame_video[4] = frame_ref_make(0, 20);
    frame_table.frame_video[5] = frame_ref_make(9, 5);  // no pictures there
    for (const auto& [f, key] : {std::pair{3, false}, {4, false}, {5, true}, {-7, true}})
        EXPECT_EQ(frame_is_source_key(edit, f), key) << f;
    ASSERT_EQ(open_file(edit, file.name(), 0), 1);
    edit->source[0].media.media_flag |= MEDIA_DOUBLE_RATE;
    edit->source[0].media.video_stream.dwLength *= 2;
    for (const auto& [number, key] : {std::pair{12, true}, {13, true}, {14, false}, {39, false}, {40, false}}) {
        frame_table.frame_video[2] = uint32_t(number);
        EXPECT_EQ(frame_is_source_key(edit, 2), key) << number;
    }
}

TEST_F(EditCommands, PlayRateChangesWhatNumbersMean) {
    open();
    static PLAY_RATE_DIALOG seen, typed;
    ui_hooks.ask_play_rate = [](PLAY_RATE_DIALOG* dialog) { return seen = std::exchange(*dialog, typed), true; };
    const auto type = [&](const char* rate, const char* samples) {
        typed = {};
        std::strcpy(typed.rate, rate);
        std::strcpy(typed.samples, samples);
        run(5398);
    };
    type("30000/1001", "");
    EXPECT_STREQ(seen.rate_now, "30.000fps");
    type("12.34567", "22050");
    EXPECT_STREQ(seen.rate_now, "29.970fps (30000/1001)");
    for (const char* bad : {"0", "x", "-5", "5/0", ""}) type(bad, "");
    for (const char* bad : {"0", "x", "-5", "99999999999", ""}) type("", bad);
    EXPECT_EQ(edit->base.video_stream.dwRate, 123456u);
    EXPECT_EQ(edit->base.video_stream.dwScale, 10000u);
    EXPECT_EQ(edit->base.audio_header.nAvgBytesPerSec, 88200u);
    EXPECT_EQ(edit->base.audio_stream.dwRate, 88200u);
    EXPECT_EQ(edit->source[0].media.audio_header.nSamplesPerSec, 22050u);
}

TEST_F(EditCommands, PicturesGoToTheClipboardAndComeBack) {
    open();
    static std::string text;
    ui_hooks.clipboard_put_picture = [](const CLIPBOARD_PICTURE& p) { return clipboard = p, true; };
    ui_hooks.clipboard_take_picture = [](CLIPBOARD_PICTURE* p) { return *p = clipboard, true; };
    ui_hooks.clipboard_put_text = [](const char* t) { return text = t, true; };
    run(EDIT_COMMAND_MOVE_TO, 9), run(1090);
    EXPECT_EQ(text, std::to_string(9 + system_settings.startframe));
    run(1026);
    ASSERT_EQ(clipboard.rows.size(), 64u * 48 * 3);
    EXPECT_TRUE(
        std::ranges::equal(clipboard.rows, std::span(media_read_frame(&edit->source[0].media, 9), 64 * 48 * 3)));
    run(EDIT_COMMAND_MOVE_TO, 30), run(5123);
    EXPECT_EQ(frame_table.frame_clip[30], 1);
    const CLIPBOARD_PICTURE first = std::exchange(clipboard, {});
    run(1070);  // the rendered frame 30 shows the pasted picture
    EXPECT_EQ(clipboard.rows, first.rows);
    clipboard.header.biWidth = 63, run(5123);
    clipboard.header.biWidth = 64, clipboard.header.biBitCount = 32, run(5123);
    clipboard.header.biBitCount = 24, clipboard.rows.pop_back(), run(5123);
    EXPECT_EQ(frame_table.frame_clip[30], 1);
    clipboard = first;
    for (int i = 2; i < CLIP_MAX; ++i) EXPECT_EQ(clip_take_picture(edit), 1);
    EXPECT_EQ(clip_take_picture(edit), 0);
}

TEST_F(EditCommands, SettingsOfTheSelection) {
    open();
    ui_hooks.choose_inter = [](INTER_DIALOG* dialog) { return dialog->chosen = INTER_AUTO, true; };
    range_typed = {6, 8};
    run(5115), run(5125), run(5126);
    for (int f = 4; f < 9; ++f) EXPECT_EQ(frame_table.frame_inter[f], f > 4 && f < 8 ? INTER_AUTO : 0) << f;
    run(EDIT_COMMAND_MOVE_TO, 6), run(5127);
    EXPECT_EQ(edit->frame_video_setting[1].quality, 200);
    EXPECT_EQ(edit->video_setting.quality, 0);
    // A frame without a setting of its own: that of the profile, which keeps what was chosen.
    const std::string side = text_to_utf8(profile_path(edit->profile_name[0], ".sav"));
    system_settings.compprofile = 1;
    std::filesystem::remove(side);
    answer = false;
    run(EDIT_COMMAND_MOVE_TO, 0), run(5127);
    EXPECT_FALSE(std::filesystem::exists(side)) << "cancelled";
    answer = true;
    run(5127);
    EXPECT_TRUE(std::filesystem::remove(side));
}
