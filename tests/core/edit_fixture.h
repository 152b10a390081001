#pragma once

#include <gtest/gtest.h>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/media.h"
#include "core/message.h"
#include "core/settings.h"
#include "core/source.h"
#include "core/start_up.h"
#include "demo/clip.h"
#include "platform/text.h"
#include "support/avi_builder.h"
#include "support/command.h"

/// The engine started without a window in a folder of its own; messages are kept off standard error.
struct EDIT_FIXTURE : testing::Test {
    TEMP_FOLDER_PATH folder;
    EDIT_STATE* edit = nullptr;

    void SetUp() override {
        edit = start_up(false);
        ASSERT_NE(edit, nullptr);
        message_silence(true);
    }
    void TearDown() override {
        message_silence(false);
        shut_down();
    }
    /// A clip in the folder; returns its path in code page 932.
    std::string clip(const char* name, const CLIP& what) {
        std::string path = text_from_utf8(folder / name);
        EXPECT_TRUE(clip_write(what, path));
        return path;
    }
    /// A WAV file in the folder, in the same way.
    std::string wave(const char* name, const BYTES& format, const BYTES& samples) const {
        const BYTES file = wave_build(format, samples);
        file_put_bytes(folder / name, {file.begin(), file.end()});
        return text_from_utf8(folder / name);
    }
};
