#include "core/source.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/edit_commands_clip.h"
#include "core/edit_commands_undo.h"
#include "core/edit_settings.h"
#include "core/edit_state.h"
#include "core/fps_list.h"
#include "core/frame_table.h"
#include "core/history.h"
#include "core/media.h"
#include "core/message.h"
#include "core/profile.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "hosts/filter.h"
#include "hosts/filter_cache.h"
#include "persist/project_load.h"
#include "pipeline/frame_cache.h"
#include "platform/handle.h"
#include "platform/path.h"
#include "platform/text.h"
#include "readers/input_table.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static constexpr int SMALLEST_PICTURE = 32;
static constexpr size_t EXTENSION_MAX = 15;

/// What the file dialog, or the caller, asked for.
struct OPEN_REQUEST {
    char path[PATH_SIZE];
    uint32_t flags;       // OPEN_...
    uint32_t load_flags;  // LOAD_...
    int rate_index;       // entry of fps_list
};

static void clear_project_name(EDIT_STATE* edit) { std::memset(edit->project_name, 0, sizeof edit->project_name); }
static void clear_save_name(EDIT_STATE* edit) { std::memset(edit->save_name, 0, sizeof edit->save_name); }

// ---- what the user chose

static const char* dialog_title(uint32_t flags) {
    if (flags & OPEN_SOUND) return language_string(STR_TITLE_OPEN_SOUND);
    return flags & OPEN_APPEND ? language_string(STR_TITLE_APPEND) : "";
}

static bool ask_path(const EDIT_STATE* edit, OPEN_REQUEST* request, const char* path) {
    FILE_DIALOG dialog{};
    const bool sound = request->flags & OPEN_SOUND;
    dialog.title = dialog_title(request->flags);
    dialog.rate_index = sound ? -1 : fps_list.no_conversion;
    dialog.load = sound ? FILE_LOAD_SOUND : request->flags & OPEN_APPEND ? FILE_LOAD_APPEND : FILE_LOAD_NEW;
    text_copy(dialog.path, sizeof dialog.path, path ? path : edit->file_name);
    if (sound && edit_settings.audioext[0]) path_set_extension(dialog.path, dialog.path, edit_settings.audioext);
    if (!ui_hooks.file_dialog || !ui_hooks.file_dialog(&dialog)) return false;
    std::memcpy(request->path, dialog.path, PATH_SIZE);
    request->load_flags |= dialog.load_flags;
    request->flags |= dialog.open_flags;
    if (dialog.rate_index >= 0) request->rate_index = dialog.rate_index;
    return true;
}

static bool make_request(const EDIT_STATE* edit, OPEN_REQUEST* request, const char* path, uint32_t flags) {
    *request = {};
    request->flags = flags & OPEN_SOUND ? flags | OPEN_APPEND : flags;
    request->rate_index = fps_list.no_conversion;
    if (!path || (flags & OPEN_ASK)) {
        if (!ask_path(edit, request, path)) return false;
    } else if (!text_copy(request->path, PATH_SIZE, path)) {
        message_warn(STR_CLI_PATH_TOO_LONG, path, int(PATH_SIZE - 1));
        return false;
    }
    if (system_settings.loadfpsadjust) request->load_flags |= LOAD_FPS_ADJUST_AUTO;
    if (request->flags & OPEN_SOUND) request->load_flags |= LOAD_NO_VIDEO;
    return true;
}

// ---- the slot and its checks

static int free_slot(const EDIT_STATE* edit, bool append) {
    if (!append) return 0;
    for (int i = 0; i < SOURCE_MAX; ++i)
        if (!edit->source[i].path[0]) return i;
    message_warn(STR_ERR_TOO_MANY_SOURCES, SOURCE_MAX);
    return -1;
}

int source_open_reason() {
    switch (input_open_error()) {
        case INPUT_FAIL_MISSING: return STR_CLI_REASON_MISSING;
        case INPUT_FAIL_FOLDER: return STR_CLI_REASON_FOLDER;
        case INPUT_FAIL_NOT_REGULAR: return STR_CLI_REASON_NOT_REGULAR;
        case INPUT_FAIL_UNREADABLE: return STR_CLI_REASON_UNREADABLE;
        case INPUT_FAIL_EMPTY: return STR_CLI_REASON_EMPTY;
        default: return STR_CLI_REASON_FORMAT;
    }
}

SOURCE_SIZE source_size_check(int width, int height) {
    if (width > system_settings.width || height > system_settings.height) return SOURCE_SIZE_LARGE;
    return width < SMALLEST_PICTURE || height < SMALLEST_PICTURE ? SOURCE_SIZE_SMALL : SOURCE_SIZE_GOOD;
}

static bool size_allowed(const char* path, int width, int height) {
    const SOURCE_SIZE size = source_size_check(width, height);
    if (size == SOURCE_SIZE_LARGE)
        message_warn_file(path, STR_ERR_PICTURE_TOO_LARGE, STR_ERR_PICTURE_TOO_LARGE, system_settings.width,
                          system_settings.height);
    if (size == SOURCE_SIZE_SMALL)
        message_warn_file(path, STR_ERR_PICTURE_TOO_SMALL, STR_ERR_PICTURE_TOO_SMALL, SMALLEST_PICTURE,
                          SMALLEST_PICTURE);
    return size == SOURCE_SIZE_GOOD;
}

static bool record_allowed(const MEDIA_RECORD* record, const OPEN_REQUEST& request) {
    const uint32_t needed = request.flags & OPEN_SOUND ? MEDIA_HAS_AUDIO : MEDIA_HAS_VIDEO;
    if (!(record->media_flag & needed)) {
        message_warn_file(request.path, STR_ERR_UNSUPPORTED_FILE, STR_ERR_UNSUPPORTED_FILE);
        return false;
    }
    return (request.flags & OPEN_SOUND) || size_allowed(request.path, record->media_width, record->media_height);
}

static bool open_slot(EDIT_STATE* edit, int slot, const OPEN_REQUEST& request) {
    MEDIA_RECORD* record = &edit->source[slot].media;
    if (media_open(record, request.path, request.load_flags) != 1) {
        if (input_open_error() != INPUT_FAIL_STOPPED)
            message_warn_file(request.path, STR_ERR_OPEN_FAILED, source_open_reason());
        return false;
    }
    if (!record_allowed(record, request)) {
        media_close(record);
        return false;
    }
    text_copy(edit->source[slot].path, PATH_SIZE, request.path);
    return true;
}

// ---- what the slot does to the edit's formats

static void remember_audio_extension(const char* path) {
    const char* extension = path_extension(path);
    if (std::strlen(extension) < EXTENSION_MAX)
        text_copy(edit_settings.audioext, sizeof edit_settings.audioext, extension);
}

static void base_takes_audio(MEDIA_RECORD* base, const MEDIA_RECORD& record) {
    base->media_flag |= MEDIA_HAS_AUDIO;
    base->audio_header = record.audio_header;
    base->audio_stream = record.audio_stream;
    std::memcpy(base->audio_format, record.audio_format, sizeof base->audio_format);
    base->audio_format_size = record.audio_format_size;
}

static void match_to_base(MEDIA_RECORD* base, MEDIA_RECORD* record) {
    if (!(base->media_flag & MEDIA_HAS_AUDIO)) return;
    if (record->media_flag & MEDIA_HAS_AUDIO) {
        WAVEFORMATEX stored;
        std::memcpy(&stored, base->audio_format, sizeof stored);
        media_match_audio(record, &base->audio_header, &stored);
    } else {
        base->media_flag &= ~uint32_t{MEDIA_HAS_AUDIO};  // the edit as a whole loses its sound
    }
}

static void choose_rate(AVI_STREAM_INFO* video, int r) {
    const int none = fps_list.no_conversion;
    if ((video->dwRate == 0 || video->dwScale == 0) && r == none) r = none == 1 ? 0 : 1;
    if (r < 0 || r >= fps_list.n) return;
    if (system_settings.load30fps && r == none && video->dwScale) {
        const uint32_t whole = video->dwRate / video->dwScale;
        if (whole == 29 || whole == 30) {
            video->dwRate = 30000;
            video->dwScale = 1001;
        }
    }
    if (fps_list.entry[r].rate) {
        video->dwRate = uint32_t(fps_list.entry[r].rate);
        video->dwScale = uint32_t(fps_list.entry[r].scale);
    }
}

static void update_base(EDIT_STATE* edit, int slot, const OPEN_REQUEST& request) {
    MEDIA_RECORD* record = &edit->source[slot].media;
    if (request.flags & OPEN_SOUND) {
        remember_audio_extension(request.path);
        base_takes_audio(&edit->base, *record);
    } else if (request.flags & OPEN_APPEND) {
        match_to_base(&edit->base, record);
    } else {
        edit->base = *record;
        edit->base.media_frames = 0;
        choose_rate(&edit->base.video_stream, request.rate_index);
    }
    AVI_STREAM_INFO& own = record->video_stream;
    if (own.dwRate == 0 || own.dwScale == 0) {
        own.dwRate = edit->base.video_stream.dwRate;
        own.dwScale = edit->base.video_stream.dwScale;
    }
}

// ---- a fresh edit

static void fresh_display_header(EDIT_STATE* edit) {
    BITMAPINFOHEADER& header = edit->shown_header;
    header = edit->base.video_header;
    header.biSize = sizeof header;
    header.biPlanes = 1;
    header.biBitCount = 0;
    header.biCompression = header.biSizeImage = 0;
    header.biClrUsed = header.biClrImportant = 0;
}

static void clear_shown(EDIT_STATE* edit) {
    edit->shown_image = edit->shown_pixels = edit->shown_wave = 0;
    edit->shown_wave_n = 0;
}

static void begin_edit(EDIT_STATE* edit) {
    edit->edit_flag |= EDIT_OPEN;
    fresh_display_header(edit);
    edit->width = edit->base.media_width;
    edit->height = edit->base.media_height;
    edit->frame_n = 0;
    frame_table_clear();
    std::memset(edit->profile_name, 0, sizeof edit->profile_name);
    text_copy(edit->profile_name[0], PATH_SIZE, profile_current());
    if (system_settings.tempconfig) profile_make_temporary(edit);
    std::memset(edit->frame_video_setting, 0, sizeof edit->frame_video_setting);
    std::memset(edit->clip, 0, sizeof edit->clip);
    std::memset(edit->ex_title, 0, sizeof edit->ex_title);
    std::memset(edit->ex_comment, 0, sizeof edit->ex_comment);
    std::memset(edit->ex_copyright, 0, sizeof edit->ex_copyright);
    clear_shown(edit);
}

// ---- frames

static void write_sound_frames(const EDIT_STATE* edit, int slot, uint32_t flags) {
    const bool part = flags & OPEN_INTO_SELECTION;
    const int first = part ? edit->select_start : 0, last = part ? edit->select_end : edit->frame_n - 1;
    for (int k = 0; first + k <= last; ++k) frame_table.frame_audio[first + k] = frame_ref_make(slot, k);
}

static void write_frame(EDIT_STATE* edit, int slot, int d, int k, int picture, int field_order) {
    FRAME_TABLE& t = frame_table;
    const bool fields = edit->source[slot].media.media_flag & MEDIA_DOUBLE_RATE;
    t.frame_video[d] = frame_ref_make(slot, picture);
    t.frame_audio[d] = frame_ref_make(slot, k);
    t.frame_inter[d] = fields ? uint8_t(INTER_ODD + (k + field_order + 1) % 2) : uint8_t{INTER_STANDARD};
    t.frame_phase[d] = uint8_t(k % 5);
    t.frame_flag[d] = t.frame_profile[d] = t.frame_compress[d] = t.frame_clip[d] = 0;
}

static int reserve_frames(EDIT_STATE* edit, int n, uint32_t flags) {
    if (flags & OPEN_INTO_SELECTION) {
        edit->frame = edit->select_start;
        return edit->select_end - edit->select_start + 1;
    }
    edit->frame = edit->frame_n;
    const bool all_selected = edit->select_start == 0 && edit->select_end == edit->frame_n - 1;
    const bool keep_selection = edit->frame_n > 0 && !all_selected;
    edit->frame_n = int(std::min<int64_t>(int64_t{edit->frame_n} + n, INT32_MAX));
    if (!keep_selection) {
        edit->select_start = 0;
        edit->select_end = edit->frame_n - 1;
    }
    return n;
}

static void write_video_frames(EDIT_STATE* edit, int slot, uint32_t flags) {
    const MEDIA_RECORD* record = &edit->source[slot].media;
    const bool append = flags & OPEN_APPEND;
    int n = map_frame(&edit->base, record->media_frames, record);
    if (append && system_settings.fpsnoconvert) n = record->media_frames;
    const bool mapped = n != record->media_frames;
    const int count = reserve_frames(edit, std::max(n, 1), flags);  // an edit is never empty
    const FILTER* order = filter_built_in(STR_FILTER_FIELD_ORDER);
    const int field_order = order ? filter_selected(order) : 0;
    for (int k = 0, d = edit->frame; k < count; ++k, ++d) {
        if (d >= frame_limit()) {
            edit->frame_n = frame_limit();
            message_warn(STR_ERR_TOO_MANY_FRAMES, frame_limit());
            break;
        }
        const int picture = mapped ? map_frame(record, k, &edit->base) : k;
        write_frame(edit, slot, d, k, std::min(picture, FRAME_REF_NUMBER_MAX), field_order);
    }
    edit->select_end = std::min(edit->select_end, edit->frame_n - 1);
}

void source_edit_opened(EDIT_STATE* edit, bool fresh) {
    frame_cache_reset();
    filter_cache_clear_all();
    edit->frame = frame_clamp(edit, edit->frame);
    undo_clear();
    if (fresh) {
        edit->edit_flag |= EDIT_RELAYOUT;
        frame_clipboard_clear();
    }
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    if (fresh) filter_broadcast_send(FILTER_MSG_FILE_OPENED, 0);
    filter_broadcast_send(FILTER_MSG_EDIT_CHANGED, 0);
}

static void after_load(EDIT_STATE* edit, const OPEN_REQUEST& request) {
    edit->select_anchor = 0;
    source_edit_opened(edit, !(request.flags & OPEN_APPEND));
    if (!(request.flags & (OPEN_INNER | OPEN_INNER_BATCH | OPEN_SOUND | OPEN_APPEND))) history_add(request.path);
}

// A new edit whose name the dialog gave may be a project.
static bool is_project(const OPEN_REQUEST& request, bool asked) {
    return asked && system_settings.openprojectaup && !(request.flags & OPEN_APPEND) &&
           text_compare_nocase(path_extension(request.path), ".vtp") == 0;
}

int open_file(EDIT_STATE* edit, const char* path, uint32_t flags) {
    if (flags & OPEN_PROJECT) return project_load(edit, path, flags);
    if ((edit->edit_flag & EDIT_OPEN) && (edit->edit_flag & EDIT_SAVING)) return 0;
    OPEN_REQUEST request;
    if (!make_request(edit, &request, path, flags)) return 0;
    if (is_project(request, !path || (flags & OPEN_ASK))) return project_load(edit, request.path, flags & ~OPEN_ASK);
    const bool append = request.flags & OPEN_APPEND;
    if (append) {
        if (!(edit->edit_flag & EDIT_OPEN)) return 0;
        close_unused_sources(edit);
    } else {
        close_edit(edit);
        text_copy(edit->file_name, PATH_SIZE, request.path);
        clear_project_name(edit);
        clear_save_name(edit);
    }
    const int slot = free_slot(edit, append);
    if (slot < 0 || !open_slot(edit, slot, request)) return 0;
    update_base(edit, slot, request);
    if (!append) begin_edit(edit);
    if (request.flags & OPEN_SOUND)
        write_sound_frames(edit, slot, request.flags);
    else
        write_video_frames(edit, slot, request.flags);
    after_load(edit, request);
    return 1;
}

void close_unused_sources(EDIT_STATE* edit) {
    bool used[256] = {};
    for (int i = 0; i < edit->frame_n; ++i) {
        used[frame_ref_source(frame_table.frame_video[i])] = true;
        used[frame_ref_source(frame_table.frame_audio[i])] = true;
    }
    for (int i = 0; i < SOURCE_MAX; ++i) {
        SOURCE_SLOT& slot = edit->source[i];
        if (!slot.path[0] || used[i]) continue;
        media_close(&slot.media);
        std::memset(slot.path, 0, sizeof slot.path);
    }
    undo_clear();  // its frames may name a source that is gone
}

static void free_clips(EDIT_STATE* edit) {
    for (uint32_t& clip : edit->clip) {
        std::free(handle_get(clip));
        handle_free(clip);
        clip = 0;
    }
}

int close_edit(EDIT_STATE* edit) {
    if (!(edit->edit_flag & EDIT_OPEN)) return 1;
    if (edit->edit_flag & EDIT_SAVING) return 0;
    filter_broadcast_send(FILTER_MSG_FILE_CLOSING, 0);
    free_clips(edit);
    profile_drop_temporary(edit);
    for (SOURCE_SLOT& slot : edit->source)
        if (slot.path[0]) media_close(&slot.media);
    std::memset(edit->source, 0, sizeof edit->source);
    edit->frame_n = 0;
    clear_shown(edit);
    edit->edit_flag &= ~uint32_t{EDIT_OPEN};
    edit->view.view_flag &= ~uint32_t{VIEW_EDIT_SHOWN};
    if (ui_hooks.edit_changed) ui_hooks.edit_changed();
    filter_broadcast_send(FILTER_MSG_EDIT_CHANGED, 0);
    return 1;
}

int confirm_close(EDIT_STATE* edit) {
    const bool ask = system_settings.closedialog && (edit->edit_flag & EDIT_OPEN) && !(edit->edit_flag & EDIT_SAVING);
    return !ask || message_ask(STR_ASK_DISCARD_EDIT);
}
