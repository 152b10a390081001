#pragma once

#include "hosts/filter.h"
#include "platform/guard.h"

/// Calls into a filter under the guard. False when it crashed or threw and the user chose to go on (with No the fault
/// passes on and this does not return). place: the entry that was called, as the user reads it.
template <typename CALL>
bool filter_call(const FILTER* filter, const char* place, CALL&& call) {
    GUARD_FAULT fault;  // 4 KiB, and only filled in when it is needed
    if (guard_call(&fault, call)) [[likely]]
        return true;
    guard_report(fault, filter->name ? filter->name : "", place);
    return false;
}
