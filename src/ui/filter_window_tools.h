#pragma once

#include "vantel_filter.h"

/// func_WndProc of built-in filters whose windows hold more than what their records describe.

/// The numbers of what they put into their windows, without a gap from here on. It is enabled and disabled with the
/// controls that the records describe.
inline constexpr int FILTER_CONTROL_OWN = 20000;

int histogram_window_proc(void* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit,
                          FILTER* filter);
int clip_window_proc(void* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit,
                     FILTER* filter);
int audio_position_window_proc(void* window, uint32_t message, uintptr_t wparam, intptr_t lparam, EDIT_STATE* edit,
                               FILTER* filter);

/// Enters them into the built-in records, which the engine makes without windows.
void filter_window_tools_install();
