#pragma once

#include <vector>

#include "hosts/filter.h"

/// What the dialog of the filter order works on: a list of its own, in the order to be. Main thread.
using FILTER_ORDER = std::vector<FILTER*>;

/// The filters that have a place in the chain now, for pictures or for sound, in its order. One whose stored place lies
/// outside of the chain is not among them.
FILTER_ORDER filter_order_now(bool audio);
/// All filters that can have a place, as they stand at first: those for the beginning, the others, those for the end,
/// in list order each.
FILTER_ORDER filter_order_initial(bool audio);
/// Moves the entry at `from` to the place `to`; the ones between shift by one. False, with nothing done, when one of
/// them is no entry.
bool filter_order_move(FILTER_ORDER* order, int from, int to);
/// Numbers the filters from 0 and sorts the chain anew.
void filter_order_apply(const FILTER_ORDER& order);
