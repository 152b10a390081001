#include "ui/information.h"

#include <algorithm>
#include <cstdio>

#include "core/edit_state.h"
#include "hosts/filter.h"
#include "platform/text.h"
#include "platform/window_box.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/dialogs.h"
#include "ui/file_information.h"
#include "ui/view_overlay.h"

static std::string version_text(const EDIT_STATE*) {
    char text[200];
    std::snprintf(text, sizeof text, language_string(STR_VERSION), "2.41m7");
    return text;
}
static std::string filter_text(const EDIT_STATE*) { return filter_info_text(); }
static std::string overlay_text(const EDIT_STATE*) { return overlay_info(); }
static std::string nothing_text(const EDIT_STATE*) { return language_string(STR_INFO_NOTHING); }

static constexpr struct {
    int command, title;
    std::string (*text)(const EDIT_STATE* edit);
} INFORMATION_TABLE[] = {
    {100, STR_TITLE_VERSION, version_text},     {101, STR_TITLE_FILTER_INFO, filter_text},
    {103, STR_TITLE_INPUT_INFO, nothing_text},  {104, STR_TITLE_OVERLAY_INFO, overlay_text},
    {105, STR_TITLE_OUTPUT_INFO, nothing_text}, {107, STR_TITLE_LANGUAGE_INFO, nothing_text},
    {110, STR_TITLE_COLOR_INFO, nothing_text},  {1006, STR_TITLE_FILE_INFO, file_information_text},
};

// A list may be too long for a plain box.
static void show(const std::string& title, const std::string& text) {
    constexpr int BOX_LINES = 16;
    if (std::count(text.begin(), text.end(), '\n') > BOX_LINES)
        information_box(dialogs_owner(), title, text);
    else
        message_box(dialogs_owner(), title, text, BOX_PLAIN, BOX_OK);
}

void information_show(const EDIT_STATE* edit, int command) {
    for (const auto& row : INFORMATION_TABLE) {
        if (row.command != command) continue;
        show(language_text_utf8(row.title), text_to_utf8(row.text(edit)));
    }
}
