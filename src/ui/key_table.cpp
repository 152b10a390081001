#include "ui/key_table.h"

#include <algorithm>
#include <iterator>

static constexpr uint32_t CTRL = KEY_MODIFIER_CTRL;

static constexpr KEY_BINDING DEFAULT_TABLE[] = {
    {0, KEY_LEFT, 9001},
    {0, KEY_RIGHT, 9002},
    {0, KEY_UP, 5141},
    {0, KEY_DOWN, 5142},
    {0, KEY_PRIOR, 5188},
    {0, KEY_NEXT, 5187},
    {0, KEY_HOME, 5396},
    {0, KEY_END, 5397},
    {CTRL, 'C', 1020},
    {CTRL, 'V', 5117},
    {CTRL, 'A', 5112},
    {CTRL, 'G', 5131},
    {CTRL, 'O', 5097},
    {CTRL, 'S', 1003},
    {0, KEY_OEM_4, 5110},
    {0, KEY_OEM_6, 5111},
    {0, KEY_NUMPAD0, 5196},
    {0, KEY_NUMPAD0 + 1, 5197},
    {0, KEY_NUMPAD0 + 2, 5198},
    {0, KEY_NUMPAD0 + 3, 5199},
    {0, KEY_NUMPAD0 + 4, 5200},
    {0, KEY_NUMPAD0 + 5, 5201},
    {CTRL, 'Z', 5147},
    {0, KEY_ADD, 9107},
    {0, KEY_SUBTRACT, 9108},
    {0, '0', 5206},
    {0, '1', 5207},
    {0, '2', 5208},
    {0, '3', 5209},
    {0, '4', 5210},
    {0, '5', 5211},
    {0, '6', 5212},
    {0, '7', 5213},
    {0, '8', 5214},
    {0, '9', 5215},
};
static_assert(std::size(DEFAULT_TABLE) == 35);

/// Keys that are not named by their character. The names are those of the keys' faces on a Japanese keyboard.
static constexpr struct {
    uint32_t key;
    const char* name;
} KEY_NAME_TABLE[] = {
    {KEY_BACK, "BS"},        {KEY_TAB, "Tab"},       {KEY_RETURN, "Enter"},  {KEY_SPACE, "Space"},
    {KEY_INSERT, "Ins"},     {KEY_DELETE, "Del"},    {KEY_HOME, "Home"},     {KEY_END, "End"},
    {KEY_PRIOR, "PageUp"},   {KEY_NEXT, "PageDown"}, {KEY_UP, "↑"},          {KEY_DOWN, "↓"},
    {KEY_LEFT, "←"},         {KEY_RIGHT, "→"},       {KEY_OEM_MINUS, "-"},   {KEY_OEM_7, "^"},
    {KEY_OEM_5, "\\"},       {KEY_OEM_3, "@"},       {KEY_OEM_4, "["},       {KEY_OEM_PLUS, ";"},
    {KEY_OEM_1, ":"},        {KEY_OEM_6, "]"},       {KEY_OEM_COMMA, ","},   {KEY_OEM_PERIOD, "."},
    {KEY_OEM_2, "/"},        {KEY_OEM_102, "＼"},    {KEY_DIVIDE, "/(テ)"},  {KEY_MULTIPLY, "*(テ)"},
    {KEY_SUBTRACT, "-(テ)"}, {KEY_ADD, "+(テ)"},     {KEY_DECIMAL, ".(テ)"},
};

static KEY_BINDING table[KEY_TABLE_MAX];

std::span<const KEY_BINDING> key_table() { return table; }

void key_table_reset() {
    std::fill(std::begin(table), std::end(table), KEY_BINDING{});
    std::copy(std::begin(DEFAULT_TABLE), std::end(DEFAULT_TABLE), table);
}

// ---- pressed keys

static uint32_t modifiers_held() {
    uint32_t held = 0;
    if (key_held(KEY_SHIFT)) held |= KEY_MODIFIER_SHIFT;
    if (key_held(KEY_CONTROL)) held |= KEY_MODIFIER_CTRL;
    if (key_held(KEY_MENU)) held |= KEY_MODIFIER_ALT;
    return held;
}

static uint32_t command_of(uint32_t key, uint32_t held) {
    uint32_t plain = 0, exact = 0;
    for (const KEY_BINDING& binding : table) {
        if (binding.command == 0 || binding.key != key) continue;
        if (binding.modifiers == held) exact = binding.command;
        if (binding.modifiers == 0 && plain == 0) plain = binding.command;
    }
    return exact ? exact : plain;
}

int key_dispatch(WINDOW* window, uint32_t message, uintptr_t key, intptr_t lparam) {
    constexpr intptr_t REPEATS = intptr_t{1} << 30;
    if (message != WM_KEYDOWN && message != WM_SYSKEYDOWN) return 0;
    if ((lparam & REPEATS) && (window_waiting(window, message) || window_waiting(window, WM_COMMAND))) return 0;
    if (const uint32_t command = command_of(uint32_t(key), modifiers_held()))
        window_post(window, WM_COMMAND, command, 0);
    return 0;
}

// ---- names

static std::string key_name(uint32_t key) {
    if ((key >= 'A' && key <= 'Z') || (key >= '0' && key <= '9')) return std::string(1, char(key));
    if (key >= KEY_F1 && key < KEY_F1 + 12) return "F" + std::to_string(key - KEY_F1 + 1);
    if (key >= KEY_NUMPAD0 && key <= KEY_NUMPAD0 + 9) return std::to_string(key - KEY_NUMPAD0) + "(テ)";
    for (const auto& row : KEY_NAME_TABLE)
        if (row.key == key) return row.name;
    return {};
}

std::string key_binding_text(const KEY_BINDING& binding) {
    const std::string name = key_name(binding.key);
    if (name.empty()) return {};
    std::string text;
    if (binding.modifiers & KEY_MODIFIER_SHIFT) text += "Shift+";
    if (binding.modifiers & KEY_MODIFIER_CTRL) text += "Ctrl+";
    if (binding.modifiers & KEY_MODIFIER_ALT) text += "Alt+";
    return text + name;
}

void key_table_show(MENU* menu) {
    for (const KEY_BINDING& binding : table)
        if (binding.command) menu_set_keys(menu, int(binding.command), key_binding_text(binding));
}
