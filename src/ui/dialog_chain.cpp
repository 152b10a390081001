#include <algorithm>

#include "output/chain_mix.h"
#include "platform/text.h"
#include "readers/input_filter.h"
#include "ui/dialog_file.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

namespace {

enum : int { LIST = 32600, REMOVE_ALL = 32700, ADD = 32703, REMOVE = 32704, ADD_SERIES = 32707 };

void show_files(WINDOW* list, const CHAIN_DIALOG& chain, int selected) {
    rows_clear(list);
    for (int i = 0; i < chain.file_n; ++i) rows_add(list, text_to_utf8(chain.file[i]));
    rows_select(list, std::min(selected, chain.file_n - 1));
}

void add_files(WINDOW* list, CHAIN_DIALOG* chain, bool series) {
    const std::string filter = input_file_filter(false);
    char path[PATH_SIZE];
    if (!dialog_file_choose(dialog_file_box("", filter.c_str(), chain->start, false), path)) return;
    // The first files of a series that is too long stay.
    if (series)
        chain_add_series(chain, path);
    else
        chain_add(chain, path);
    show_files(list, *chain, chain->file_n - 1);
}

void press(WINDOW* list, CHAIN_DIALOG* chain, int id) {
    const int selected = rows_selected(list);
    if (id == ADD || id == ADD_SERIES) add_files(list, chain, id == ADD_SERIES);
    if (id == REMOVE) chain_remove(chain, selected);
    if (id == REMOVE_ALL) chain_remove_all(chain);
    if (id == REMOVE || id == REMOVE_ALL) show_files(list, *chain, selected);
}

}  // namespace

bool dialog_chain(CHAIN_DIALOG* chain) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        show_files(control_of(dialog, LIST), *chain, 0);
        copy_fields_show(dialog, &chain->fields);
    };
    steps.take = [&](WINDOW* dialog) { return copy_fields_take(dialog, &chain->fields); };
    steps.command = [&](WINDOW* dialog, int id, int) {
        press(control_of(dialog, LIST), chain, id);
        copy_fields_command(dialog, id);
    };
    return dialogs_run("AVICHAIN", steps);
}
