#include <algorithm>

#include "platform/text.h"
#include "ui/dialogs.h"
#include "ui/dialogs_hooks.h"

// The small dialogs of the edit commands: one or two fields each.

namespace {

constexpr int NUMBER_A = 32000, NUMBER_B = 32001, LIST = 32500;

struct NUMBER_FIELD {
    int id;
    int* value;
};

bool ask_numbers(const char* name, const std::vector<NUMBER_FIELD>& fields) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        for (const NUMBER_FIELD& field : fields) control_set_value(control_of(dialog, field.id), *field.value);
        control_select_all(control_of(dialog, fields[0].id));
    };
    steps.take = [&](WINDOW* dialog) {
        for (const NUMBER_FIELD& field : fields) *field.value = control_value(control_of(dialog, field.id));
        return true;
    };
    return dialogs_run(name, steps);
}

}  // namespace

bool dialog_range(RANGE_DIALOG* range) {
    return ask_numbers("SELECT", {{NUMBER_A, &range->start}, {NUMBER_B, &range->end}});
}

bool dialog_frame(int* shown) { return ask_numbers("MOVE", {{NUMBER_A, shown}}); }

bool dialog_size(SIZE_DIALOG* size) {
    return ask_numbers(size->name, {{NUMBER_A, &size->width}, {NUMBER_B, &size->height}});
}

bool dialog_inter(INTER_DIALOG* inter) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        WINDOW* list = control_of(dialog, LIST);
        for (const char* name : inter->name) rows_add(list, text_to_utf8(name));
        rows_select(list, inter->chosen);
    };
    steps.take = [&](WINDOW* dialog) {
        inter->chosen = rows_selected(control_of(dialog, LIST));
        return true;
    };
    return dialogs_run("INTER", steps);
}

bool dialog_play_rate(PLAY_RATE_DIALOG* rate) {
    constexpr int RATE = 32100, SAMPLES = 32101, RATE_NOW = 32102, SAMPLES_NOW = 32103;
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        control_set_text(control_of(dialog, RATE_NOW), text_to_utf8(rate->rate_now));
        control_set_text(control_of(dialog, SAMPLES_NOW), text_to_utf8(rate->samples_now));
        window_enable(control_of(dialog, SAMPLES), rate->sound);
    };
    // A text too long for its field is no rate; the field is then "", as if nothing had been typed.
    steps.take = [&](WINDOW* dialog) {
        text_copy(rate->rate, sizeof rate->rate, text_from_utf8(control_text(control_of(dialog, RATE))));
        text_copy(rate->samples, sizeof rate->samples, text_from_utf8(control_text(control_of(dialog, SAMPLES))));
        return true;
    };
    return dialogs_run("FILE_INFO", steps);
}
