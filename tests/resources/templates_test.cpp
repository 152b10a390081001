#include "resources/templates.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace {

std::string dump(const MENU_TEMPLATE& menu) {
    std::string text;
    for (const MENU_LINE& line : menu)
        text += "ISPE"[line.kind] + std::to_string(line.id) + '<' + line.text + '|' + line.keys + "> ";
    return text;
}

std::string dump(const std::vector<CONTROL_LINE>& lines) {
    std::string text;
    for (const CONTROL_LINE& l : lines) {
        text += std::to_string(l.kind) + ':' + std::to_string(l.id) + '<' + l.text + '|' + l.unit + '>';
        for (const int n : {l.low, l.high, l.width, l.height}) text += ' ' + std::to_string(n);
        text += '\n';
    }
    return text;
}

TEST(Templates, AMenuNests) {
    const char text[] =
        "# remark\n"
        "menu OTHER\n  item 1 \"x\"\nend\n"
        "menu MAIN   # remark\r\n"
        "  popup \"File (&F)\"\n"
        "    item 5097 \"Open \\\"this\\\"\\n(&O)\" \"Ctrl+O\"\r\n"
        "    --\n"
        "\titem 104 \"# no remark\"\n"
        "  end\n"
        "end\n"
        "item 9 \"behind the end\"\n";
    EXPECT_EQ(dump(menu_from_text(text, "MAIN")),
              "P0<File (&F)|> I5097<Open \"this\"\n(&O)|Ctrl+O> S0<|> I104<# no remark|> E0<|> ");
    EXPECT_EQ(dump(menu_from_text(text, "OTHER")), "I1<x|> ");
    EXPECT_TRUE(menu_from_text(text, "NONE").empty());
}

TEST(Templates, ADialogHasAllItsParts) {
    const DIALOG_TEMPLATE dialog = dialog_from_text(
        "dialog D \"title\"\n"
        "  group \"frame\"\n form\n"
        "    number 1 \"n\" -5 99 \"unit\" 8\n"
        "    edit 2 \"e\" 30 -readonly\n"
        "    combo 3 \"c\" -free\n"
        "    list 4 \"\" 20 6 -marks\n"
        "    list 5 \"\" -several\n"
        "    slider 6 \"s\" 0 1000\n"
        "  end\n end\n space\n rule\n"
        "  buttons 1 \"OK\" 2 \"Cancel\"\n"
        "end\n",
        "D");
    EXPECT_EQ(dialog.title, "title");
    const std::vector<CONTROL_LINE> want = {{CONTROL_GROUP, 0, "frame", {}},
                                            {CONTROL_FORM, 0, {}, {}},
                                            {CONTROL_NUMBER, 1, "n", "unit", -5, 99, 8},
                                            {CONTROL_EDIT, 2, "e", {}, 1, 0, 30},
                                            {CONTROL_COMBO, 3, "c", {}, 1},
                                            {CONTROL_LIST, 4, {}, {}, 2, 0, 20, 6},
                                            {CONTROL_LIST, 5, {}, {}, 1},
                                            {CONTROL_SLIDER, 6, "s", {}, 0, 1000},
                                            {CONTROL_END, 0, {}, {}},
                                            {CONTROL_END, 0, {}, {}},
                                            {CONTROL_SPACE, 0, {}, {}},
                                            {CONTROL_RULE, 0, {}, {}}};
    EXPECT_EQ(dump(dialog.lines), dump(want));
    EXPECT_EQ(dump(dialog.buttons), dump({{CONTROL_BUTTON, 1, "OK", {}}, {CONTROL_BUTTON, 2, "Cancel", {}}}));
}

TEST(Templates, DamagedLinesAreLeftOut) {
    const DIALOG_TEMPLATE dialog = dialog_from_text(
        "dialog D\n"
        "  check \"no number\"\n  check 5 \"no end\n  check 5x \"bad number\"\n  check 99999999999 \"too large\"\n"
        "  check 5 \"flag of another kind\" -marks\n  check 5 \"too much\" 7\n"
        "  number 5 \"no range\"\n  number 5 \"turned round\" 9 1\n  what 5 \"unknown\"\n"
        "  group no quotes\n    check 6 \"good\"\n  end\n"
        "  column\n  check 7 \"good as well\"\n"
        "  buttons 1 \"OK\" 2\n",
        "D");
    ASSERT_EQ(6u, dialog.lines.size()) << "the opened group and its end stay, the column is closed";
    for (const auto& [at, id] : {std::pair{1, 6}, {4, 7}}) EXPECT_EQ(id, dialog.lines[size_t(at)].id);
    for (const size_t at : {2, 5}) EXPECT_EQ(CONTROL_END, dialog.lines[at].kind);
    EXPECT_EQ(1u, dialog.buttons.size());
    EXPECT_EQ(dump(menu_from_text("menu M\npopup \"a\nitem 1\nitem 2 \"b\"\nmenu N\nitem 3 \"c\"\n", "M")),
              "P0<a|> I2<b|> E0<|> ")
        << "the next menu ends the one that lacks its end";
}

// Every dialog of the program is read whole: each line of its text gives an entry, and what opens is closed.
TEST(Templates, TheProgramsOwnDialogsAreWhole) {
    int dialogs = 0;
    for (const char* all : {DIALOGS_JA, DIALOGS_OUTPUT_JA}) {
        std::istringstream text(all);
        std::string line, name, word;
        std::map<std::string, size_t> written;
        while (std::getline(text, line)) {
            std::istringstream words(line);
            if (!(words >> word) || word[0] == '#' || word == "buttons") continue;
            if (word == "dialog")
                words >> name;
            else
                ++written[name];
        }
        for (const auto& [dialog, n] : written) {
            const auto lines = dialog_from_text(all, dialog).lines;
            EXPECT_EQ(lines.size() + 1, n) << dialog << ": a line was left out";
            int depth = 0;
            for (const CONTROL_LINE& l : lines) depth += l.kind < CONTROL_END ? 1 : l.kind == CONTROL_END ? -1 : 0;
            EXPECT_EQ(depth, 0) << dialog;
            ++dialogs;
        }
    }
    EXPECT_GE(dialogs, 8);
}

}  // namespace
