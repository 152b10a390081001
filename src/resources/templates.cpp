#include "resources/templates.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace {

struct TOKEN {
    std::string text;
    bool quoted;
};
using TOKENS = std::vector<TOKEN>;

// ---- one line

// Takes a quoted text off the front. False: its second quote is missing.
bool take_quoted(std::string_view* rest, std::string* text) {
    for (size_t i = 1; i < rest->size(); ++i) {
        char c = (*rest)[i];
        if (c == '"') {
            rest->remove_prefix(i + 1);
            return true;
        }
        if (c == '\\' && i + 1 < rest->size()) {
            c = (*rest)[++i];
            if (c == 'n') c = '\n';
        }
        *text += c;
    }
    return false;
}

bool line_tokens(std::string_view line, TOKENS* tokens) {
    constexpr std::string_view BLANKS = " \t\r";
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(BLANKS), line.size()));
        if (line.empty() || line[0] == '#') return true;
        TOKEN& token = tokens->emplace_back(TOKEN{{}, line[0] == '"'});
        if (token.quoted) {
            if (!take_quoted(&line, &token.text)) return false;
        } else {
            const size_t n = std::min(line.find_first_of(" \t\r\"#"), line.size());
            token.text = line.substr(0, n);
            line.remove_prefix(n);
        }
    }
}

/// Takes the tokens of a line one by one; `good` falls at the first that is not as it should be.
struct TAKER {
    const TOKENS& tokens;
    size_t next = 1;
    bool good = true;

    bool more(bool quoted) const { return next < tokens.size() && tokens[next].quoted == quoted; }
    std::string text() {
        good = good && more(true);
        return good ? tokens[next++].text : std::string();
    }
    int number() {
        int value = 0;
        good = good && more(false);
        if (!good) return 0;
        const std::string& word = tokens[next++].text;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        good = error == std::errc() && end == word.data() + word.size();
        return good ? value : 0;
    }
    bool done() const { return good && next == tokens.size(); }
};

// ---- a named block

/// Hands out the lines of the block `kind NAME`, up to its last `end`. Blocks inside it are counted by `opens`.
struct BLOCK {
    std::string_view rest;
    int depth = 0;

    bool next(TOKENS* tokens) {
        while (!rest.empty()) {
            const size_t n = std::min(rest.find('\n'), rest.size());
            const std::string_view line = rest.substr(0, n);
            rest.remove_prefix(std::min(n + 1, rest.size()));
            tokens->clear();
            // Even a line without its second quote counts when it opens something, as its `end` does.
            const bool whole = line_tokens(line, tokens);
            if (tokens->empty()) continue;
            if (!whole) tokens->push_back({"?", false});
            return true;
        }
        return false;
    }
    bool find(std::string_view kind, std::string_view name, TOKENS* head) {
        while (next(head))
            if (head->size() >= 2 && (*head)[0].text == kind && (*head)[1].text == name) return true;
        return false;
    }
    /// The next line inside. False at the end, which may also be the beginning of another block or of nothing.
    bool inside(TOKENS* tokens) {
        if (!next(tokens)) return false;
        const std::string& word = (*tokens)[0].text;
        return word != "menu" && word != "dialog" && (word != "end" || depth > 0);
    }
};

// ---- menus

std::optional<MENU_LINE> menu_line(const TOKENS& tokens) {
    const std::string& word = tokens[0].text;
    TAKER taker{tokens};
    if (word == "popup") return MENU_LINE{MENU_LINE::POPUP, 0, taker.text(), {}};
    if (word == "end") return MENU_LINE{MENU_LINE::END, 0, {}, {}};
    if (word == "--") return MENU_LINE{MENU_LINE::SEPARATOR, 0, {}, {}};
    if (word != "item") return {};
    MENU_LINE line{MENU_LINE::ITEM, taker.number(), {}, {}};
    line.text = taker.text();
    if (taker.more(true)) line.keys = taker.text();
    if (!taker.done()) return {};
    return line;
}

// ---- dialogs

/// What may follow number and text, in this order.
enum : unsigned { HAS_RANGE = 1, MAY_UNIT = 2, MAY_WIDTH = 4, MAY_HEIGHT = 8 };

struct KIND_ROW {
    std::string_view word;
    CONTROL_KIND kind;
    unsigned parts;
};
constexpr KIND_ROW KINDS[] = {
    {"label", CONTROL_LABEL, 0},
    {"check", CONTROL_CHECK, 0},
    {"radio", CONTROL_RADIO, 0},
    {"button", CONTROL_BUTTON, 0},
    {"icon", CONTROL_ICON_BUTTON, 0},
    {"edit", CONTROL_EDIT, MAY_WIDTH},
    {"text", CONTROL_TEXT, MAY_WIDTH | MAY_HEIGHT},
    {"number", CONTROL_NUMBER, HAS_RANGE | MAY_UNIT | MAY_WIDTH},
    {"combo", CONTROL_COMBO, MAY_WIDTH},
    {"list", CONTROL_LIST, MAY_WIDTH | MAY_HEIGHT},
    {"slider", CONTROL_SLIDER, HAS_RANGE},
    {"picture", CONTROL_PICTURE, MAY_WIDTH | MAY_HEIGHT},
};

struct LAYOUT_ROW {
    std::string_view word;
    CONTROL_KIND kind;
    bool text, opens;
};
constexpr LAYOUT_ROW LAYOUTS[] = {
    {"column", CONTROL_COLUMN, false, true}, {"row", CONTROL_ROW, false, true},    {"form", CONTROL_FORM, false, true},
    {"group", CONTROL_GROUP, true, true},    {"page", CONTROL_PAGE, true, true},   {"end", CONTROL_END, false, false},
    {"space", CONTROL_SPACE, false, false},  {"rule", CONTROL_RULE, false, false},
};

struct FLAG_ROW {
    std::string_view word;
    CONTROL_KIND kind;
    int low;
};
constexpr FLAG_ROW FLAGS[] = {
    {"-readonly", CONTROL_EDIT, 1}, {"-readonly", CONTROL_TEXT, 1}, {"-free", CONTROL_COMBO, 1},
    {"-several", CONTROL_LIST, 1},  {"-marks", CONTROL_LIST, 2},    {"-movable", CONTROL_LIST, 3},
};

template <size_t N, class ROW>
const ROW* row_of(const ROW (&rows)[N], std::string_view word) {
    const ROW* row = std::find_if(rows, rows + N, [word](const ROW& r) { return r.word == word; });
    return row == rows + N ? nullptr : row;
}

// A layout word stands even when it lacks its text: its `end` would close something else.
CONTROL_LINE layout_line(const LAYOUT_ROW& row, const TOKENS& tokens) {
    CONTROL_LINE line{row.kind, 0, {}, {}};
    if (row.text) line.text = TAKER{tokens}.text();
    return line;
}

bool take_flag(TAKER* taker, CONTROL_LINE* line) {
    const std::string& word = taker->tokens[taker->next].text;
    for (const FLAG_ROW& flag : FLAGS) {
        if (flag.word != word || flag.kind != line->kind) continue;
        line->low = flag.low;
        ++taker->next;
        return true;
    }
    return false;
}

bool flag_next(const TAKER& taker) {
    if (!taker.more(false)) return false;
    const std::string& word = taker.tokens[taker.next].text;
    return word[0] == '-' && word.size() > 1 && (word[1] < '0' || word[1] > '9');
}

std::optional<CONTROL_LINE> control_line(const KIND_ROW& row, const TOKENS& tokens) {
    TAKER taker{tokens};
    CONTROL_LINE line{row.kind, taker.number(), {}, {}};
    line.text = taker.text();
    if (row.parts & HAS_RANGE) {
        line.low = taker.number();
        line.high = taker.number();
    }
    if ((row.parts & MAY_UNIT) && taker.more(true)) line.unit = taker.text();
    if ((row.parts & MAY_WIDTH) && taker.more(false) && !flag_next(taker)) line.width = taker.number();
    if ((row.parts & MAY_HEIGHT) && taker.more(false) && !flag_next(taker)) line.height = taker.number();
    while (taker.good && flag_next(taker))
        if (!take_flag(&taker, &line)) return {};
    if (!taker.done() || ((row.parts & HAS_RANGE) && line.low > line.high)) return {};
    return line;
}

std::vector<CONTROL_LINE> button_lines(const TOKENS& tokens) {
    std::vector<CONTROL_LINE> buttons;
    for (TAKER taker{tokens}; !taker.done();) {
        CONTROL_LINE line{CONTROL_BUTTON, taker.number(), {}, {}};
        line.text = taker.text();
        if (!taker.good) break;
        buttons.push_back(std::move(line));
    }
    return buttons;
}

void add_dialog_line(DIALOG_TEMPLATE* dialog, const TOKENS& tokens, int* depth) {
    const std::string& word = tokens[0].text;
    if (word == "buttons") {
        dialog->buttons = button_lines(tokens);
    } else if (const LAYOUT_ROW* layout = row_of(LAYOUTS, word)) {
        dialog->lines.push_back(layout_line(*layout, tokens));
        *depth += layout->opens ? 1 : layout->kind == CONTROL_END ? -1 : 0;
    } else if (const KIND_ROW* kind = row_of(KINDS, word)) {
        if (auto line = control_line(*kind, tokens)) dialog->lines.push_back(std::move(*line));
    }
}

}  // namespace

MENU_TEMPLATE menu_from_text(std::string_view text, std::string_view name) {
    MENU_TEMPLATE menu;
    BLOCK block{text};
    TOKENS tokens;
    if (!block.find("menu", name, &tokens)) return menu;
    while (block.inside(&tokens)) {
        auto line = menu_line(tokens);
        if (!line) continue;
        if (line->kind == MENU_LINE::POPUP) ++block.depth;
        if (line->kind == MENU_LINE::END) --block.depth;
        menu.push_back(std::move(*line));
    }
    for (; block.depth > 0; --block.depth) menu.push_back({MENU_LINE::END, 0, {}, {}});
    return menu;
}

DIALOG_TEMPLATE dialog_from_text(std::string_view text, std::string_view name) {
    DIALOG_TEMPLATE dialog;
    BLOCK block{text};
    TOKENS tokens;
    if (!block.find("dialog", name, &tokens)) return dialog;
    if (tokens.size() >= 3 && tokens[2].quoted) dialog.title = tokens[2].text;
    while (block.inside(&tokens)) add_dialog_line(&dialog, tokens, &block.depth);
    for (; block.depth > 0; --block.depth) dialog.lines.push_back({CONTROL_END, 0, {}, {}});
    return dialog;
}

MENU_TEMPLATE language_menu(const char* name) { return menu_from_text(MENUS_JA, name); }
DIALOG_TEMPLATE language_dialog(const char* name) {
    const DIALOG_TEMPLATE dialog = dialog_from_text(DIALOGS_JA, name);
    return dialog.lines.empty() ? dialog_from_text(DIALOGS_OUTPUT_JA, name) : dialog;
}
