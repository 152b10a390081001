#pragma once

#include <gtest/gtest.h>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/start_up.h"
#include "core/ui_hooks.h"
#include "demo/clip.h"
#include "persist/packed_block.h"
#include "persist/project_file.h"
#include "persist/project_load.h"
#include "persist/project_save.h"
#include "platform/handle.h"
#include "platform/text.h"
#include "support/command.h"
#include "support/track_filter.h"

/// The program with settings, profiles and temporary files of the test's own, and a filter "store" that keeps a block.
struct Project : testing::Test {
    inline static std::vector<std::string> warned;
    inline static std::string kept, given;  // by the filter: what it stores, what it got
    static constexpr CLIP SMALL = {64, 48, 30, 1, 20, 24, 44100, 0};

    TEMP_FOLDER_PATH folder;
    EDIT_STATE* edit = nullptr;
    std::string path = text_from_utf8(folder / "p.vtp");

    static int store(FILTER*, EDIT_STATE*, void* data, int32_t* size) {
        if (data) std::memcpy(data, kept.data(), kept.size());
        *size = int32_t(kept.size());
        return !kept.empty();
    }
    static int take(FILTER*, EDIT_STATE*, void* data, int32_t size) {
        given.assign(static_cast<const char*>(data), size_t(size));
        return 1;
    }

    void SetUp() override {
        static const TEMP_FOLDER_PATH home;  // the name of the settings file is fixed at the first start
        for (const char* name : {"VANTEL_HOME", "TMPDIR"}) setenv(name, home.path.c_str(), 1);
        kept.clear(), given.clear(), warned.clear();
        FILTER filter = track_filter("store");
        filter.func_project_save = store;
        filter.func_project_load = take;
        filter_plugin_add(&filter, this, "", nullptr);
        start();
    }
    void start() {
        edit = start_up(true);
        ASSERT_NE(edit, nullptr);
        ui_hooks.warn = [](const char* text) { warned.push_back(text_to_utf8(text)); };
    }
    void TearDown() override {
        shut_down();
        ui_hooks = {};
    }

    int32_t& track() const { return filter_find("store")->track_store[0]; }
    bool is_open() const { return edit->edit_flag & EDIT_OPEN; }
    std::string clip(const char* name, const CLIP& what) {
        std::string file = text_from_utf8(folder / name);
        EXPECT_TRUE(clip_write(what, file));
        return file;
    }

    /// Opens a clip of the folder, made here; returns its path.
    std::string open(const char* name, const CLIP& what, uint32_t flags = 0) {
        std::string file = clip(name, what);
        EXPECT_EQ(open_file(edit, file.c_str(), flags), 1);
        return file;
    }

    // ---- a project made by hand

    using BYTES = std::string;
    static BYTES number(uint32_t value) { return {reinterpret_cast<const char*>(&value), 4}; }
    static BYTES pack(const void* data, size_t size) {
        std::vector<uint8_t> out;
        pack_write(out, {static_cast<const uint8_t*>(data), size});
        return {out.begin(), out.end()};
    }
    static BYTES head_and_record(const EDIT_STATE& record) {
        const auto* bytes = reinterpret_cast<const char*>(&record);
        return marker() + number(4983272) + BYTES(bytes, 524) + pack(bytes + 524, 4983272 - 524);
    }
    /// A record with one source, the clip of a path, and columns of zeros but for those given.
    static std::unique_ptr<EDIT_STATE> record_of(const std::string& source) {
        auto record = std::make_unique<EDIT_STATE>();
        record->edit_flag = EDIT_OPEN;
        record->width = 64, record->height = 48;
        record->base.video_stream.dwRate = 30, record->base.video_stream.dwScale = 1;
        record->source[0].media.media_flag = MEDIA_HAS_VIDEO;
        text_copy(record->source[0].path, PATH_SIZE, source);
        return record;
    }
    static BYTES columns(int n, uint8_t fill) {
        const BYTES bytes(4 * size_t(n), char(fill));
        BYTES out = number(uint32_t(n));
        for (int i = 0; i < 10; ++i) out += pack(bytes.data(), size_t(n) * (i < 4 ? 4 : 1));
        return out;
    }
    static BYTES marker() { return BYTES("Vantel ProjectFile version 0.18\0", 32); }
    int load(const BYTES& bytes, uint32_t flags = 0) {
        file_put_bytes(folder / "p.vtp", bytes);
        return project_load(edit, path.c_str(), flags);
    }
};
