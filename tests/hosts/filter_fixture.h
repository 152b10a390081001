#pragma once

#include <gtest/gtest.h>

#include "hosts/filter.h"
#include "platform/guard.h"
#include "resources/language.h"
#include "resources/string_ids.h"

/// A filter table with plug-in records made by the test. start() puts it up, the end of the test takes it down.
struct FILTER_TABLE_TEST : ::testing::Test {
    using STEPS = std::vector<std::string>;
    inline static STEPS faults;  // "name place" of every crash that was reported

    void SetUp() override {
        faults.clear();
        guard_reporter = [](const GUARD_FAULT&, const char* name, const char* place) {
            faults.push_back(std::string(name) + " " + place);
            return true;
        };
    }
    void TearDown() override {
        filter_chain_set_observer(nullptr, nullptr);
        filter_window_hooks = {};
        filter_system_exit();
        guard_reporter = nullptr;
    }

    /// A record that can run and does nothing.
    static FILTER record(const char* name, uint32_t flags) {
        FILTER filter{};
        filter.name = name;
        filter.flags = flags;
        filter.func_proc = [](FILTER*, FILTER_PROC_PARAM*) { return 1; };
        return filter;
    }
    static FILTER* add(const FILTER& filter) {
        return filter_plugin_add(&filter, &faults, "/plugins/test.vtf", nullptr);
    }
    static FILTER* add(const char* name, uint32_t flags = 0) { return add(record(name, flags)); }
    static std::vector<const FILTER*> chain() {
        std::vector<const FILTER*> all;
        for (FILTER* const* at = filter_chain(); *at; ++at) all.push_back(*at);
        return all;
    }
    static void start(bool headless = false) { filter_system_init(nullptr, headless ? nullptr : &faults); }

    /// The steps of whatever runs, by name, without the size change that is always on.
    template <typename WALK>
    static STEPS steps_of(const WALK& walk) {
        STEPS steps;
        filter_chain_set_observer(
            [](const char* name, int, void* data) {
                if (std::string(name) != language_string(STR_FILTER_SIZE)) static_cast<STEPS*>(data)->push_back(name);
            },
            &steps);
        walk();
        filter_chain_set_observer(nullptr, nullptr);
        return steps;
    }
};
