#include <algorithm>

#include "core/audio_conv.h"
#include "core/audio_format.h"
#include "core/edit_state.h"
#include "platform/text.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

namespace {

enum : int { KIND = 32500, LIST = 32600 };

constexpr uint16_t TAG_PCM = 1;
constexpr size_t PCM_SIZE = 16;  // bytes of a PCM format that count

using FORMAT = std::span<const uint8_t>;

/// What is shown: all rows, those of one kind at a time.
struct AUDIO_CHOICE {
    std::vector<AUDIO_FORMAT_ROW> rows;
    std::vector<std::string> kinds;  // UTF-8
    std::vector<size_t> listed;      // rows of the kind that is shown
};

bool same_format(FORMAT a, FORMAT b) {
    if (a.size() < PCM_SIZE || b.size() < PCM_SIZE) return false;
    const bool pcm = audio_format_head(a).wFormatTag == TAG_PCM;
    return pcm ? std::equal(a.begin(), a.begin() + PCM_SIZE, b.begin()) : std::ranges::equal(a, b);
}

std::string kind_of(const AUDIO_FORMAT_ROW& row) { return text_to_utf8(audio_format_name(row.format)); }

/// A format that is not offered, of a project of another machine perhaps.
AUDIO_FORMAT_ROW foreign_row(FORMAT format) {
    const WAVEFORMATEX head = audio_format_head(format);
    return {{format.begin(), format.end()},
            audio_format_name(format) + " " + std::to_string(head.nSamplesPerSec) + " Hz, " +
                std::to_string(head.nChannels) + " ch"};
}

/// The row of a format, which is added in front when there is none.
size_t row_of(AUDIO_CHOICE* choice, FORMAT format) {
    const auto at =
        std::ranges::find_if(choice->rows, [&](const auto& row) { return same_format(row.format, format); });
    if (at != choice->rows.end()) return size_t(at - choice->rows.begin());
    if (format.size() >= PCM_SIZE && audio_format_head(format).nSamplesPerSec)
        choice->rows.insert(choice->rows.begin(), foreign_row(format));
    return 0;
}

/// Lists the rows of a kind; selected is the one of this rate and these channels, else the first.
void show_kind(WINDOW* dialog, AUDIO_CHOICE* choice, const std::string& kind, const WAVEFORMATEX& near) {
    WINDOW* list = control_of(dialog, LIST);
    rows_clear(list);
    choice->listed.clear();
    int selected = -1;
    for (size_t i = 0; i < choice->rows.size(); ++i) {
        const AUDIO_FORMAT_ROW& row = choice->rows[i];
        if (kind_of(row) != kind) continue;
        const WAVEFORMATEX head = audio_format_head(row.format);
        const bool fits = head.nSamplesPerSec == near.nSamplesPerSec && head.nChannels == near.nChannels;
        if (fits && selected < 0) selected = int(choice->listed.size());
        choice->listed.push_back(i);
        rows_add(list, text_to_utf8(row.name));
    }
    rows_select(list, std::max(selected, 0));
}

const AUDIO_FORMAT_ROW* selected_row(WINDOW* dialog, const AUDIO_CHOICE& choice) {
    const int selected = rows_selected(control_of(dialog, LIST));
    return selected >= 0 ? &choice.rows[choice.listed[size_t(selected)]] : nullptr;
}

void init(WINDOW* dialog, AUDIO_CHOICE* choice, FORMAT start) {
    const size_t at = row_of(choice, start);
    for (const AUDIO_FORMAT_ROW& row : choice->rows)
        if (std::ranges::find(choice->kinds, kind_of(row)) == choice->kinds.end())
            choice->kinds.push_back(kind_of(row));
    for (const std::string& kind : choice->kinds) rows_add(control_of(dialog, KIND), kind);
    if (choice->rows.empty()) return;
    control_set_text(control_of(dialog, KIND), kind_of(choice->rows[at]));
    show_kind(dialog, choice, kind_of(choice->rows[at]), {});
    const auto listed = std::ranges::find(choice->listed, at);
    rows_select(control_of(dialog, LIST), int(listed - choice->listed.begin()));
}

void change_kind(WINDOW* dialog, AUDIO_CHOICE* choice) {
    const AUDIO_FORMAT_ROW* row = selected_row(dialog, *choice);
    show_kind(dialog, choice, control_text(control_of(dialog, KIND)),
              row ? audio_format_head(row->format) : WAVEFORMATEX{});
}

bool take(WINDOW* dialog, const AUDIO_CHOICE& choice, AUDIO_FORMAT_DIALOG* audio) {
    const AUDIO_FORMAT_ROW* row = selected_row(dialog, choice);
    if (!row || row->format.size() > sizeof audio->chosen) return false;
    std::ranges::copy(row->format, audio->chosen);
    audio->chosen_size = int(row->format.size());
    return true;
}

}  // namespace

bool dialog_choose_audio(AUDIO_FORMAT_DIALOG* audio) {
    AUDIO_CHOICE choice;
    // An edit without sound has no rate; rows made from it would be of no use.
    choice.rows = audio_format_rows(edit_state ? edit_state->base.audio_header : WAVEFORMATEX{});
    std::erase_if(choice.rows, [](const auto& row) { return audio_format_head(row.format).nSamplesPerSec == 0; });
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        init(dialog, &choice, {audio->start, size_t(std::clamp(audio->start_size, 0, int(sizeof audio->start)))});
    };
    steps.take = [&](WINDOW* dialog) { return take(dialog, choice, audio); };
    steps.command = [&](WINDOW* dialog, int id, int note) {
        if (id == KIND) change_kind(dialog, &choice);
        if (id == LIST && note == NOTE_ACTIVATED) window_post(dialog, WM_COMMAND, ID_OK, 0);
    };
    return dialogs_run("AUDIOSET", steps);
}
