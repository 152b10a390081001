#include "hosts/filter_order.h"
#include "platform/text.h"
#include "ui/dialogs.h"

namespace {

enum : int { LIST = 32600, INITIAL = 32700, UP = 32701, DOWN = 32702 };

void show_order(WINDOW* list, const FILTER_ORDER& order, int selected) {
    rows_clear(list);
    for (const FILTER* filter : order) rows_add(list, text_to_utf8(filter->name ? filter->name : ""));
    rows_select(list, selected);
}

void move_selected(WINDOW* list, FILTER_ORDER* order, int step) {
    const int from = rows_selected(list);
    if (filter_order_move(order, from, from + step)) show_order(list, *order, from + step);
}

}  // namespace

bool dialog_filter_order_run(bool sound) {
    FILTER_ORDER order = filter_order_now(sound);
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) { show_order(control_of(dialog, LIST), order, -1); };
    steps.command = [&](WINDOW* dialog, int id, int note) {
        WINDOW* list = control_of(dialog, LIST);
        int from = 0, to = 0;
        if (id == LIST && note == NOTE_MOVED && rows_moved(list, &from, &to)) filter_order_move(&order, from, to);
        if (id == UP) move_selected(list, &order, -1);
        if (id == DOWN) move_selected(list, &order, 1);
        if (id != INITIAL) return;
        order = filter_order_initial(sound);
        show_order(list, order, -1);
    };
    if (!dialogs_run("PRIORITYLIST", steps)) return false;
    filter_order_apply(order);
    return true;
}
