#include "hosts/filter_order.h"

#include <algorithm>

static bool can_be_ordered(const FILTER* filter, bool audio) {
    if (!filter->func_proc || (filter->flags & (FILTER_F_DISPLAY | FILTER_F_DEINTERLACE_METHOD))) return false;
    return bool(filter->flags & FILTER_F_AUDIO) == audio;
}

static FILTER_ORDER in_list_order(bool audio) {
    FILTER_ORDER order;
    for (FILTER* const* at = filter_list(); *at; ++at)
        if (can_be_ordered(*at, audio)) order.push_back(*at);
    return order;
}

FILTER_ORDER filter_order_now(bool audio) {
    FILTER_ORDER order = in_list_order(audio);
    std::erase_if(order, [](const FILTER* f) { return f->chain_order < 0 || f->chain_order > FILTER_PLACE_MAX; });
    std::stable_sort(order.begin(), order.end(),
                     [](const FILTER* a, const FILTER* b) { return a->chain_order < b->chain_order; });
    return order;
}

static int group_of(const FILTER* filter) {
    if (filter->flags & FILTER_F_ORDER_FIRST) return 0;
    return filter->flags & FILTER_F_ORDER_LAST ? 2 : 1;
}

FILTER_ORDER filter_order_initial(bool audio) {
    FILTER_ORDER order = in_list_order(audio);
    std::stable_sort(order.begin(), order.end(),
                     [](const FILTER* a, const FILTER* b) { return group_of(a) < group_of(b); });
    return order;
}

bool filter_order_move(FILTER_ORDER* order, int from, int to) {
    const int n = int(order->size());
    if (from < 0 || from >= n || to < 0 || to >= n) return false;
    const auto at = order->begin();
    if (from < to)
        std::rotate(at + from, at + from + 1, at + to + 1);
    else
        std::rotate(at + to, at + from, at + from + 1);
    return true;
}

void filter_order_apply(const FILTER_ORDER& order) {
    int place = 0;
    for (FILTER* filter : order) filter->chain_order = place++;
    filter_chain_rebuild();
}
