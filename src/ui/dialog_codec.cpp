#include <algorithm>

#include "platform/text.h"
#include "platform/video_codec.h"
#include "platform/window_box.h"
#include "readers/codec.h"
#include "readers/codec_dialog.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "resources/templates.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

namespace {

// ---- the configuration of a codec: one choice for each of its keys

constexpr int FIRST_CHOICE = 32500;

std::string value_of(const std::string& state, const std::string& key) {
    const std::string mark = "\n" + key + "=";
    const size_t at = state.find(mark);
    if (at == state.npos) return {};
    const size_t start = at + mark.size();
    return state.substr(start, state.find('\n', start) - start);
}

DIALOG_TEMPLATE config_template(const std::vector<VIDEO_CODEC_OPTION>& options) {
    DIALOG_TEMPLATE dialog = language_dialog("VCMSET_CONFIG");
    const auto form = std::ranges::find(dialog.lines, CONTROL_FORM, &CONTROL_LINE::kind);
    std::vector<CONTROL_LINE> choices;
    choices.reserve(options.size());
    for (const VIDEO_CODEC_OPTION& option : options)
        choices.push_back({CONTROL_COMBO, FIRST_CHOICE + int(choices.size()), option.label, {}});
    dialog.lines.insert(form == dialog.lines.end() ? form : form + 1, choices.begin(), choices.end());
    return dialog;
}

void show_config(WINDOW* dialog, const std::vector<VIDEO_CODEC_OPTION>& options, const std::string& state) {
    for (size_t i = 0; i < options.size(); ++i) {
        WINDOW* choice = control_of(dialog, FIRST_CHOICE + int(i));
        for (const char* value : options[i].values) rows_add(choice, value);
        control_set_text(choice, value_of(state, options[i].key));
    }
}

// The line that names version and codec stays in front.
std::string config_state(WINDOW* dialog, const std::vector<VIDEO_CODEC_OPTION>& options, const std::string& state) {
    std::string chosen = state.substr(0, state.find('\n')) + "\n";
    for (size_t i = 0; i < options.size(); ++i)
        chosen += options[i].key + ("=" + control_text(control_of(dialog, FIRST_CHOICE + int(i))) + "\n");
    return chosen;
}

void run_config(CODEC_DIALOG* codec) {
    const std::string state = codec_dialog_state(codec);
    if (state.empty()) return;
    const CODEC_ENTRY* entry = codec_entry(codec->choices[size_t(codec->selected)]);
    const std::vector<VIDEO_CODEC_OPTION> options = video_codec_options(entry->handler);
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) { show_config(dialog, options, state); };
    steps.take = [&](WINDOW* dialog) { return codec_dialog_set_state(codec, config_state(dialog, options, state)); };
    dialog_run(config_template(options), dialogs_owner(), dialogs_proc, &steps);
}

// ---- the choice of a compressor

enum : int { QUALITY = 32000, KEY_FRAME, DATA_RATE, CONFIG = 32300, RESET, ABOUT, PROGRAM = 32500 };

// -1: the codec has no such thing.
void show_number(WINDOW* field, int value) {
    window_enable(field, value >= 0);
    if (value >= 0)
        control_set_value(field, value);
    else
        control_set_text(field, "");
}

void show_fields(WINDOW* dialog, const CODEC_DIALOG* codec) {
    const CODEC_FIELDS fields = codec_dialog_fields(codec);
    show_number(control_of(dialog, QUALITY), fields.quality);
    show_number(control_of(dialog, KEY_FRAME), fields.key_frame);
    show_number(control_of(dialog, DATA_RATE), fields.data_rate);
    window_enable(control_of(dialog, CONFIG), fields.has_options);
    window_enable(control_of(dialog, ABOUT), fields.has_about);
}

void store_fields(WINDOW* dialog, CODEC_DIALOG* codec) {
    CODEC_FIELDS fields = codec_dialog_fields(codec);
    fields.quality = control_value(control_of(dialog, QUALITY));
    fields.key_frame = control_value(control_of(dialog, KEY_FRAME));
    fields.data_rate = control_value(control_of(dialog, DATA_RATE));
    codec_dialog_store(codec, fields);
}

void select_program(WINDOW* dialog, CODEC_DIALOG* codec) {
    const int chosen = rows_selected(control_of(dialog, PROGRAM));
    if (chosen < 0 || chosen == codec->selected) return;
    store_fields(dialog, codec);
    codec_dialog_select(codec, chosen);
    show_fields(dialog, codec);
}

void press(WINDOW* dialog, CODEC_DIALOG* codec, int id) {
    if (id == PROGRAM) select_program(dialog, codec);
    if (id == CONFIG) run_config(codec);
    if (id == RESET) {
        codec_dialog_reset(codec);
        show_fields(dialog, codec);
    }
    if (id == ABOUT)
        information_box(dialogs_owner(), language_text_utf8(STR_VIDEO_CODEC_ABOUT),
                        text_to_utf8(codec_dialog_about(codec)));
}

}  // namespace

bool dialog_choose_video(CODEC_DIALOG* codec) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        WINDOW* program = control_of(dialog, PROGRAM);
        for (int i = 0; i < int(codec->choices.size()); ++i)
            rows_add(program, text_to_utf8(codec_dialog_name(codec, i)));
        rows_select(program, codec->selected);
        show_fields(dialog, codec);
    };
    steps.take = [&](WINDOW* dialog) {
        select_program(dialog, codec);
        store_fields(dialog, codec);
        return true;
    };
    steps.command = [&](WINDOW* dialog, int id, int) { press(dialog, codec, id); };
    return dialogs_run("VCMSET", steps);
}

// ---- the user's options of all codecs

namespace {

enum : int { DECODE_YUY2 = 32200, ENCODE_YUY2, KEEP_STATE, NAME = 32400, LIST = 32600 };

constexpr struct {
    int id;
    uint32_t bit;
} BOXES[] = {{DECODE_YUY2, CODEC_DECODE_YUY2}, {ENCODE_YUY2, CODEC_ENCODE_YUY2}, {KEEP_STATE, CODEC_KEEP_STATE}};

std::string row_name(const CODEC_OPTION_ROW& row) {
    const CODEC_ENTRY* entry = codec_entry(row.entry);
    return entry ? text_to_utf8(entry->display_name) : std::string();
}

CODEC_OPTION_ROW* selected_row(WINDOW* dialog, CODEC_OPTIONS_DIALOG* options) {
    const int selected = rows_selected(control_of(dialog, LIST));
    return selected >= 0 ? &options->rows[size_t(selected)] : nullptr;
}

void show_boxes(WINDOW* dialog, CODEC_OPTIONS_DIALOG* options) {
    const CODEC_OPTION_ROW* row = selected_row(dialog, options);
    for (const auto& box : BOXES) control_check(control_of(dialog, box.id), row && (row->bits & box.bit));
    window_enable(control_of(dialog, DECODE_YUY2), row);
    window_enable(control_of(dialog, ENCODE_YUY2), row && row->encode_enabled);
    window_enable(control_of(dialog, KEEP_STATE), row && row->state_enabled);
    control_set_text(control_of(dialog, NAME), row ? row_name(*row) : "");
}

void store_boxes(WINDOW* dialog, CODEC_OPTIONS_DIALOG* options) {
    CODEC_OPTION_ROW* row = selected_row(dialog, options);
    if (!row) return;
    row->bits = 0;
    for (const auto& box : BOXES)
        if (control_checked(control_of(dialog, box.id))) row->bits |= box.bit;
}

}  // namespace

bool dialog_codec_options(CODEC_OPTIONS_DIALOG* options) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        WINDOW* list = control_of(dialog, LIST);
        for (const CODEC_OPTION_ROW& row : options->rows) rows_add(list, row_name(row));
        rows_select(list, 0);
        show_boxes(dialog, options);
    };
    steps.take = [&](WINDOW* dialog) {
        store_boxes(dialog, options);
        return true;
    };
    // A box is stored when it is clicked, while its row is still the selected one.
    steps.command = [&](WINDOW* dialog, int id, int) {
        if (id == LIST)
            show_boxes(dialog, options);
        else
            store_boxes(dialog, options);
    };
    return dialogs_run("CODEC", steps);
}
