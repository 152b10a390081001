#include <cstdlib>
#include <cstring>

#include "core/edit_state.h"
#include "core/frame_table.h"
#include "core/message.h"
#include "core/source.h"
#include "core/start_up.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "persist/project_load.h"
#include "persist/project_save.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "reader_input.h"

static void require(bool condition) {
    if (!condition) abort();
}

static std::string picture_path() { return path_temp_prefix() + "fuzz.bmp"; }

/// Every source that a project misses, and it misses nearly all, is this small picture.
static void picture_write() {
    const BITMAPINFOHEADER header = {40, 32, 32, 1, 24, 0, 0, 0, 0, 0, 0};
    const uint32_t sizes[] = {54 + 32 * 96, 0, 54};
    std::string bytes = "BM" + std::string(reinterpret_cast<const char*>(sizes), sizeof sizes);
    bytes.append(reinterpret_cast<const char*>(&header), sizeof header);
    bytes.append(32 * 96, 'x');
    require(file_replace(picture_path().c_str(), bytes.data(), bytes.size()));
}

static void start() {
    FILTER filter{};
    filter.name = "store";
    filter.func_proc = [](FILTER*, FILTER_PROC_PARAM*) { return 1; };
    filter.func_project_load = [](FILTER*, EDIT_STATE*, void* data, int32_t size) {
        uint32_t sum = 0;
        for (int32_t i = 0; i < size; ++i) sum += static_cast<const uint8_t*>(data)[i];
        return int(sum != 1);  // so that every byte is read
    };
    filter_plugin_add(&filter, &filter, "", nullptr);
    picture_write();
    require(start_up(false) != nullptr);
    ui_hooks.warn = [](const char*) {};
    ui_hooks.relink = [](RELINK_DIALOG* dialog) {
        // Once for each source: a picture is no answer for one that is wanted for its sound.
        return text_compare_nocase(dialog->missing, picture_path().c_str()) != 0 && !dialog->sound_only &&
               text_copy(dialog->path, PATH_SIZE, picture_path());
    };
    std::atexit([] {
        shut_down();
        file_delete(picture_path().c_str());
    });
}

static void check_open(const EDIT_STATE* edit) {
    require(edit->frame_n > 0 && edit->frame_n <= frame_limit());
    require(edit->frame >= 0 && edit->frame < edit->frame_n);
    require(edit->select_start >= 0 && edit->select_start <= edit->select_end && edit->select_end < edit->frame_n);
    for (int f = 0; f < edit->frame_n; ++f) {
        for (const uint32_t ref : {frame_table.frame_video[f], frame_table.frame_audio[f]})
            require(frame_ref_source(ref) < SOURCE_MAX && edit->source[frame_ref_source(ref)].path[0]);
        require(frame_table.frame_inter[f] <= INTER_AUTO && frame_table.frame_profile[f] < PROFILE_MAX);
        require(frame_table.frame_compress[f] < FRAME_SETTING_MAX);
        require(!frame_table.frame_clip[f] || edit->clip[frame_table.frame_clip[f]]);
    }
    for (const SOURCE_SLOT& slot : edit->source) require(!slot.path[0] == !(slot.media.media_flag & MEDIA_OPEN));
}

static void check_closed(const EDIT_STATE* edit) {
    require(edit->frame_n == 0);
    for (const SOURCE_SLOT& slot : edit->source) require(!slot.path[0] && slot.media.media_flag == 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = (start(), true);
    const char* path = ready ? reader_input(data, size) : nullptr;
    if (!path) return 0;
    const int loaded = project_load(edit_state, path, OPEN_INNER);
    require(loaded == int(edit_state->edit_flag & EDIT_OPEN));
    if (!loaded) {
        check_closed(edit_state);
        return 0;
    }
    check_open(edit_state);
    // What was opened can be stored and opened again; one size in eight, as that takes three times as long.
    if (size % 8 != 7) {
        close_edit(edit_state);
        return 0;
    }
    const std::string again = path_temp_prefix() + "fuzz.vtp";
    const int frames = edit_state->frame_n;
    require(project_save(edit_state, again.c_str()) == 1);
    require(project_load(edit_state, again.c_str(), OPEN_INNER) == 1 && edit_state->frame_n == frames);
    file_delete(again.c_str());
    close_edit(edit_state);
    return 0;
}
