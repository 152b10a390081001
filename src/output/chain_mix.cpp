#include "output/chain_mix.h"

#include <algorithm>
#include <memory>
#include <new>

#include "core/media.h"
#include "core/memory.h"
#include "core/message.h"
#include "core/ui_hooks.h"
#include "output/chain_mix_run.h"
#include "output/chain_mix_source.h"
#include "output/save_flags.h"
#include "resources/string_ids.h"

static constexpr uint32_t COPY_FLAGS = SAVE_VIDEO | SAVE_AUDIO | SAVE_VIDEO_COPY | SAVE_AUDIO_COPY;

static void tell_unreadable(const char* path) { message_warn_file(path, STR_ERR_OPEN_FAILED, STR_ERR_OPEN_FAILED); }

template <typename RECORD>
static std::unique_ptr<RECORD> record_new() {
    std::unique_ptr<RECORD> record(new (std::nothrow) RECORD());
    if (!record) memory_warn();
    return record;
}

static std::unique_ptr<COPY_RUN> run_new(EDIT_STATE* edit, const char* output) {
    std::unique_ptr<COPY_RUN> run = record_new<COPY_RUN>();
    if (!run) return nullptr;
    run->edit = edit;
    run->output = output;
    run->flags = COPY_FLAGS;
    return run;
}

// The length of the sound group that starts at frame j of n; -1, all that is left, for the last one.
static int group_length(int interleave, int j, int n) { return interleave >= n - j ? -1 : interleave; }

// ---- mixing

struct MIX {
    COPY_SOURCE video, sound;
};

static bool mix_open(MIX* mix, const MIX_DIALOG& dialog) {
    if (!copy_source_open(&mix->video, dialog.video, COPY_LOAD_STORED)) {
        tell_unreadable(dialog.video);
        return false;
    }
    const bool opened = copy_source_open(&mix->sound, dialog.sound, COPY_LOAD_SOUND);
    if (opened && (mix->sound.media.media_flag & MEDIA_HAS_AUDIO)) return true;
    if (opened) copy_source_close(&mix->sound);
    copy_source_close(&mix->video);
    tell_unreadable(dialog.sound);
    return false;
}

static void mix_frames(COPY_RUN* run, MIX* mix) {
    for (int i = 0; i < run->frame_n; ++i) {
        if (!copy_run_tick(i)) return;
        const bool group = i % run->interleave == 0;
        if (group && !copy_run_sound(run, &mix->sound, i, group_length(run->interleave, i, run->frame_n))) return;
        if (!copy_run_frame(run, &mix->video, i)) return;
    }
}

static bool mix_opened(COPY_RUN* run, MIX* mix, const MIX_DIALOG& dialog) {
    if (!copy_length_allowed(dialog.video, mix->video.media.media_frames)) return false;
    run->context = mix->video.media;
    copy_source_sound_format(mix->sound, &run->context);
    run->frame_n = mix->video.media.media_frames;
    if (!copy_run_begin(run, dialog.fields)) return false;
    mix_frames(run, mix);
    copy_run_end(run);
    return true;
}

int avi_mix_run(EDIT_STATE* edit, const MIX_DIALOG& dialog) {
    const char* const inputs[] = {dialog.video, dialog.sound};
    if ((edit->edit_flag & EDIT_SAVING) || !copy_output_allowed(edit, dialog.fields.output, inputs, 2)) return 0;
    const std::unique_ptr<COPY_RUN> run = run_new(edit, dialog.fields.output);
    const std::unique_ptr<MIX> mix = run ? record_new<MIX>() : nullptr;
    if (!mix || !mix_open(mix.get(), dialog)) return 0;
    const bool ran = mix_opened(run.get(), mix.get(), dialog);
    copy_source_close(&mix->sound);
    copy_source_close(&mix->video);
    return ran ? 1 : 0;
}

// ---- joining

struct CHAIN {
    COPY_SOURCE source[CHAIN_FILE_LIMIT];
    int source_n;
};

static void chain_close(CHAIN* chain) {
    while (chain->source_n > 0) copy_source_close(&chain->source[--chain->source_n]);
}

static bool chain_open(CHAIN* chain, const CHAIN_DIALOG& dialog) {
    for (int k = 0; k < dialog.file_n; ++k) {
        if (!copy_source_open(&chain->source[k], dialog.file[k], COPY_LOAD_STORED)) {
            tell_unreadable(dialog.file[k]);
            return false;
        }
        chain->source_n = k + 1;
    }
    return true;
}

static bool same_pictures(const MEDIA_RECORD& a, const MEDIA_RECORD& b) {
    return media_code_normal(a.video_stream.fccHandler) == media_code_normal(b.video_stream.fccHandler) &&
           a.media_width == b.media_width && a.media_height == b.media_height;
}

static bool differences_agreed(const CHAIN& chain) {
    const bool same = std::all_of(chain.source, chain.source + chain.source_n, [&](const COPY_SOURCE& source) {
        return same_pictures(chain.source[0].media, source.media);
    });
    return same || message_ask(STR_ASK_CHAIN_DIFFERS);
}

// The whole length, -1 when it is refused. One source without sound takes the sound from all.
static int chain_measure(const CHAIN& chain, const CHAIN_DIALOG& dialog, uint32_t* flags) {
    int64_t frames = 0;
    for (int k = 0; k < chain.source_n; ++k) {
        frames += chain.source[k].media.media_frames;
        if (!(chain.source[k].media.media_flag & MEDIA_HAS_AUDIO)) *flags &= ~uint32_t{SAVE_AUDIO};
    }
    return copy_length_allowed(dialog.fields.output, frames) ? int(frames) : -1;
}

static bool chain_source(COPY_RUN* run, COPY_SOURCE* source, int first) {
    const int n = source->media.media_frames;
    for (int j = 0; j < n; ++j) {
        if (!copy_run_tick(first + j)) return false;
        const bool group = (run->flags & SAVE_AUDIO) && j % run->interleave == 0;
        if (group && !copy_run_sound(run, source, j, group_length(run->interleave, j, n))) return false;
        if (!copy_run_frame(run, source, j)) return false;
    }
    return true;
}

static void chain_frames(COPY_RUN* run, CHAIN* chain) {
    int first = 0;
    for (int k = 0; k < chain->source_n; ++k) {
        if (!chain_source(run, &chain->source[k], first)) return;
        first += chain->source[k].media.media_frames;
    }
}

static bool chain_opened(COPY_RUN* run, CHAIN* chain, const CHAIN_DIALOG& dialog) {
    run->frame_n = chain_measure(*chain, dialog, &run->flags);
    if (run->frame_n < 0) return false;
    run->context = chain->source[0].media;
    copy_source_sound_format(chain->source[0], &run->context);
    if (!differences_agreed(*chain) || !copy_run_begin(run, dialog.fields)) return false;
    chain_frames(run, chain);
    copy_run_end(run);
    return true;
}

int avi_chain_run(EDIT_STATE* edit, const CHAIN_DIALOG& dialog) {
    const char* inputs[CHAIN_FILE_LIMIT];
    if ((edit->edit_flag & EDIT_SAVING) || dialog.file_n < 1 || dialog.file_n > CHAIN_FILE_LIMIT) return 0;
    for (int k = 0; k < dialog.file_n; ++k) inputs[k] = dialog.file[k];
    if (!copy_output_allowed(edit, dialog.fields.output, inputs, dialog.file_n)) return 0;
    const std::unique_ptr<COPY_RUN> run = run_new(edit, dialog.fields.output);
    const std::unique_ptr<CHAIN> chain = run ? record_new<CHAIN>() : nullptr;
    if (!chain) return 0;
    const bool ran = chain_open(chain.get(), dialog) && chain_opened(run.get(), chain.get(), dialog);
    chain_close(chain.get());
    return ran ? 1 : 0;
}
