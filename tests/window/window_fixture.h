#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <vector>

#include "platform/window_control.h"
#include "platform/window_input.h"

struct SEEN {
    WINDOW* window;
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    bool shift, ctrl, alt;
};
/// All that came to windows with seen_proc, in order.
inline std::vector<SEEN> seen;
/// What a test does at some messages, in the place of the default.
inline std::map<uint32_t, std::function<void(const SEEN&)>> at_message;

inline intptr_t seen_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const SEEN one = {window, message, wparam, lparam, key_held(KEY_SHIFT), key_held(KEY_CONTROL), key_held(KEY_MENU)};
    seen.push_back(one);
    if (!at_message.contains(message)) return window_default(window, message, wparam, lparam);
    at_message[message](one);
    return 0;
}

/// The messages of these numbers that came, in order.
inline std::vector<SEEN> came(std::initializer_list<uint32_t> numbers) {
    std::vector<SEEN> found;
    std::ranges::copy_if(seen, std::back_inserter(found),
                         [&](const SEEN& s) { return std::ranges::find(numbers, s.message) != numbers.end(); });
    return found;
}

inline std::vector<uint32_t> numbers_that_came(std::initializer_list<uint32_t> numbers) {
    std::vector<uint32_t> found;
    for (const SEEN& s : came(numbers)) found.push_back(s.message);
    return found;
}

inline void click(WINDOW* window, POINT at, INPUT_BUTTON button = INPUT_LEFT) {
    input_press(window, at, button);
    input_release(window, at, button);
}
/// Pumps for so long, or until the condition holds.
inline void pump(int milliseconds, const std::function<bool()>& until = {}) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (window_pump() && std::chrono::steady_clock::now() < end && !(until && until())) usleep(1000);
}

/// A window that is shown and tells what it sees.
struct WINDOW_FIXTURE : testing::Test {
    WINDOW* window = nullptr;

    void SetUp() override {
        ASSERT_TRUE(window_system_start("window_test"));
        window = make(WINDOW_MAIN, nullptr);
        ASSERT_NE(window, nullptr);
        window_show(window, true);
        window_pump();
        seen.clear();
    }
    void TearDown() override {
        at_message.clear();
        window_system_stop();
    }
    static WINDOW* make(WINDOW_KIND kind, WINDOW* owner) {
        return window_create({kind, WINDOW_F_SIZABLE, "test", owner, seen_proc, 40, 50, 200, 100});
    }
};
