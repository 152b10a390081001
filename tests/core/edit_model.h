#pragma once

#include <gtest/gtest.h>

#include "core/edit_state.h"
#include "core/frame_table.h"

/// What an edit is meant to be: a plain list of entries that is cut, joined and put back as a whole.
struct EDIT_MODEL {
    struct ENTRY {
        uint32_t video, audio;
        int inter, phase, flag, profile, compress, clip;
        bool operator==(const ENTRY&) const = default;
    };
    using LIST = std::vector<ENTRY>;
    enum UNDO_KIND { NO_UNDO, UNDO_CUT, UNDO_DELETE, UNDO_PASTE };

    LIST list;
    int frame = 0, start = 0, end = 0, anchor = 0;
    bool shift = false;
    bool clipboard_filled = false;
    uint32_t clipboard_video = 0;
    int clipboard_clip = 0;
    UNDO_KIND undo_kind = NO_UNDO;
    LIST undo_list;
    int undo_at = 0;

    int n() const { return int(list.size()); }
    int selected() const { return end - start + 1; }
    LIST part(int from, int count) const { return LIST(list.begin() + from, list.begin() + from + count); }
    static LIST moved(LIST entries) {  // analysis does not travel
        for (ENTRY& e : entries) e.flag &= FRAME_USER_FLAGS;
        return entries;
    }

    void select_all() { start = 0, end = n() - 1; }
    void move(int to) {
        const int old = frame;
        frame = std::clamp(to, 0, std::max(n() - 1, 0));
        anchor = !shift ? 0 : anchor ? anchor : old + 1;
        if (shift) start = std::min(anchor - 1, frame), end = std::max(anchor - 1, frame);
    }
    void remember(UNDO_KIND kind, int from, int count) {
        undo_kind = count <= frame_limit() - n() - 10 ? kind : NO_UNDO;
        undo_list = moved(part(from, count));
        undo_at = from;
    }
    void cut() {
        if (selected() == n()) return;
        remember(UNDO_CUT, 0, n());
        undo_at = start;
        list = moved(part(start, selected()));
        frame = std::clamp(frame - start, 0, n() - 1);
        select_all();
        move(frame);
    }
    void remove() {
        const int count = selected(), at = start;
        remember(UNDO_DELETE, at, count);
        const LIST tail = moved(part(end + 1, n() - end - 1));
        list.resize(size_t(at));
        list.insert(list.end(), tail.begin(), tail.end());
        frame = frame > end ? frame - count : std::min(frame, at);
        frame = std::min(frame, std::max(n() - 1, 0));
        select_all();
        move(frame);
    }
    void paste(int from, int count) {
        if (!clipboard_filled) return;
        remember(UNDO_PASTE, from, count);
        for (int i = from; i < from + count; ++i)
            list[size_t(i)].video = clipboard_video, list[size_t(i)].clip = clipboard_clip;
    }
    void undo() {
        const UNDO_KIND kind = undo_kind;
        undo_kind = NO_UNDO;
        const int count = int(undo_list.size());
        if (kind == UNDO_PASTE) std::copy(undo_list.begin(), undo_list.end(), list.begin() + undo_at);
        if (kind == UNDO_CUT) {
            list = undo_list;
            frame += undo_at, start += undo_at, end += undo_at;
        }
        if (kind == UNDO_DELETE) {
            const LIST tail = moved(part(undo_at, n() - undo_at));
            list.resize(size_t(undo_at));
            list.insert(list.end(), undo_list.begin(), undo_list.end());
            list.insert(list.end(), tail.begin(), tail.end());
            for (int* place : {&frame, &start, &end}) *place += *place >= undo_at ? count : 0;
        }
        if (kind == UNDO_CUT || kind == UNDO_DELETE) move(frame);
    }
    /// A file of `count` frames at the edit's rate behind the last frame.
    void append(int source, int count) {
        const bool all = n() == 0 || selected() == n();
        frame = n();
        for (int k = 0; k < count; ++k)
            list.push_back({frame_ref_make(source, k), frame_ref_make(source, k), 0, k % 5, 0, 0, 0, 0});
        if (all) select_all();
        undo_kind = NO_UNDO;
        anchor = 0;
    }
    /// The lowest source that no entry uses.
    int free_source() const {
        for (int source = 0;; ++source)
            if (std::none_of(list.begin(), list.end(), [&](const ENTRY& e) {
                    return frame_ref_source(e.video) == source || frame_ref_source(e.audio) == source;
                }))
                return source;
    }

    static EDIT_MODEL of(const EDIT_STATE* edit) {
        EDIT_MODEL model;
        const FRAME_TABLE& t = frame_table;
        for (int i = 0; i < edit->frame_n; ++i)
            model.list.push_back({t.frame_video[i], t.frame_audio[i], t.frame_inter[i], t.frame_phase[i],
                                  t.frame_flag[i], t.frame_profile[i], t.frame_compress[i], t.frame_clip[i]});
        model.frame = edit->frame, model.start = edit->select_start, model.end = edit->select_end;
        model.anchor = edit->select_anchor;
        return model;
    }
};

inline testing::AssertionResult same_edit(const EDIT_MODEL& want, const EDIT_STATE* edit) {
    const EDIT_MODEL got = EDIT_MODEL::of(edit);
    if (got.n() != want.n()) return testing::AssertionFailure() << got.n() << " frames, not " << want.n();
    for (int i = 0; i < got.n(); ++i)
        if (got.list[size_t(i)] != want.list[size_t(i)]) return testing::AssertionFailure() << "entry " << i;
    if (got.frame != want.frame || got.start != want.start || got.end != want.end || got.anchor != want.anchor)
        return testing::AssertionFailure()
               << "at " << got.frame << " of " << got.start << ".." << got.end << " anchor " << got.anchor << ", not "
               << want.frame << " of " << want.start << ".." << want.end << " anchor " << want.anchor;
    return testing::AssertionSuccess();
}
