#include <QKeyEvent>

#include "platform/qt/qt_window.h"

namespace {

struct KEY_ROW {
    int qt;
    int key;
};
// Of several rows with one virtual key the first is the one that input_key presses.
constexpr KEY_ROW NAMED_KEYS[] = {
    {Qt::Key_Backspace, KEY_BACK},
    {Qt::Key_Tab, KEY_TAB},
    {Qt::Key_Backtab, KEY_TAB},
    {Qt::Key_Return, KEY_RETURN},
    {Qt::Key_Enter, KEY_RETURN},
    {Qt::Key_Shift, KEY_SHIFT},
    {Qt::Key_Control, KEY_CONTROL},
    {Qt::Key_Alt, KEY_MENU},
    {Qt::Key_Pause, KEY_PAUSE},
    {Qt::Key_CapsLock, KEY_CAPITAL},
    {Qt::Key_Escape, KEY_ESCAPE},
    {Qt::Key_Henkan, KEY_CONVERT},
    {Qt::Key_Muhenkan, KEY_NONCONVERT},
    {Qt::Key_Space, KEY_SPACE},
    {Qt::Key_PageUp, KEY_PRIOR},
    {Qt::Key_PageDown, KEY_NEXT},
    {Qt::Key_End, KEY_END},
    {Qt::Key_Home, KEY_HOME},
    {Qt::Key_Left, KEY_LEFT},
    {Qt::Key_Up, KEY_UP},
    {Qt::Key_Right, KEY_RIGHT},
    {Qt::Key_Down, KEY_DOWN},
    {Qt::Key_Insert, KEY_INSERT},
    {Qt::Key_Delete, KEY_DELETE},
    {Qt::Key_Clear, 0x0C},
    {Qt::Key_Print, 0x2C},
    {Qt::Key_Help, 0x2F},
    {Qt::Key_Meta, 0x5B},
    {Qt::Key_Menu, 0x5D},
    {Qt::Key_NumLock, 0x90},
    {Qt::Key_ScrollLock, 0x91},
};
/// Keys of the keypad while they give characters.
constexpr KEY_ROW PAD_KEYS[] = {
    {Qt::Key_Asterisk, KEY_MULTIPLY}, {Qt::Key_Plus, KEY_ADD},      {Qt::Key_Minus, KEY_SUBTRACT},
    {Qt::Key_Period, KEY_DECIMAL},    {Qt::Key_Comma, KEY_DECIMAL}, {Qt::Key_Slash, KEY_DIVIDE},
};
/// The key that a sign stands on: first without Shift, then with it.
constexpr KEY_ROW SIGN_KEYS[] = {
    {Qt::Key_Semicolon, KEY_OEM_1},    {Qt::Key_Colon, KEY_OEM_1},          {Qt::Key_Equal, KEY_OEM_PLUS},
    {Qt::Key_Plus, KEY_OEM_PLUS},      {Qt::Key_Comma, KEY_OEM_COMMA},      {Qt::Key_Less, KEY_OEM_COMMA},
    {Qt::Key_Minus, KEY_OEM_MINUS},    {Qt::Key_Underscore, KEY_OEM_MINUS}, {Qt::Key_Period, KEY_OEM_PERIOD},
    {Qt::Key_Greater, KEY_OEM_PERIOD}, {Qt::Key_Slash, KEY_OEM_2},          {Qt::Key_Question, KEY_OEM_2},
    {Qt::Key_QuoteLeft, KEY_OEM_3},    {Qt::Key_AsciiTilde, KEY_OEM_3},     {Qt::Key_BracketLeft, KEY_OEM_4},
    {Qt::Key_BraceLeft, KEY_OEM_4},    {Qt::Key_Backslash, KEY_OEM_5},      {Qt::Key_Bar, KEY_OEM_5},
    {Qt::Key_yen, KEY_OEM_5},          {Qt::Key_BracketRight, KEY_OEM_6},   {Qt::Key_BraceRight, KEY_OEM_6},
    {Qt::Key_Apostrophe, KEY_OEM_7},   {Qt::Key_QuoteDbl, KEY_OEM_7},
};
/// Signs with a key of their own on a Japanese keyboard, where they need no Shift.
constexpr KEY_ROW JAPANESE_KEYS[] = {{Qt::Key_At, KEY_OEM_3}, {Qt::Key_AsciiCircum, KEY_OEM_7}};
/// Many European keyboards have these on the digits, with AltGr.
constexpr KEY_ROW BRACKET_KEYS[] = {{Qt::Key_BracketLeft, KEY_OEM_4}, {Qt::Key_BracketRight, KEY_OEM_6}};
/// Shift with a digit, on a US keyboard.
constexpr KEY_ROW SHIFTED_DIGITS[] = {
    {Qt::Key_Exclam, '1'},    {Qt::Key_At, '2'},          {Qt::Key_NumberSign, '3'}, {Qt::Key_Dollar, '4'},
    {Qt::Key_Percent, '5'},   {Qt::Key_AsciiCircum, '6'}, {Qt::Key_Ampersand, '7'},  {Qt::Key_Asterisk, '8'},
    {Qt::Key_ParenLeft, '9'}, {Qt::Key_ParenRight, '0'},
};

template <size_t N>
int key_in(const KEY_ROW (&rows)[N], int qt) {
    for (const KEY_ROW& row : rows)
        if (row.qt == qt) return row.key;
    return 0;
}
template <size_t N>
int qt_in(const KEY_ROW (&rows)[N], int key) {
    for (const KEY_ROW& row : rows)
        if (row.key == key) return row.qt;
    return 0;
}

/// By the place on the keyboard (X11 and Wayland count it alike), where the sign does not tell: digits under Shift, and
/// the keys that only some keyboards have.
int key_of_place(uint32_t place) {
    constexpr uint32_t DIGIT_1 = 10, DIGIT_0 = 19, BESIDE_SHIFT = 94, BESIDE_RIGHT_SHIFT = 97;
    if (place >= DIGIT_1 && place < DIGIT_0) return int('1' + (place - DIGIT_1));
    if (place == DIGIT_0) return '0';
    return place == BESIDE_SHIFT || place == BESIDE_RIGHT_SHIFT ? KEY_OEM_102 : 0;
}

bool plain_character(int qt) { return (qt >= 'A' && qt <= 'Z') || (qt >= '0' && qt <= '9'); }

int sign_key(int qt, bool shift) {
    if (!shift)
        if (const int key = key_in(JAPANESE_KEYS, qt)) return key;
    if (shift)
        if (const int key = key_in(SHIFTED_DIGITS, qt)) return key;
    return key_in(SIGN_KEYS, qt);
}

}  // namespace

int virtual_key(const QKeyEvent& event) {
    const int qt = event.key();
    if (event.modifiers() & Qt::KeypadModifier) {
        if (qt >= '0' && qt <= '9') return KEY_NUMPAD0 + (qt - '0');
        if (const int key = key_in(PAD_KEYS, qt)) return key;
    }
    if (plain_character(qt)) return qt;
    if (qt >= Qt::Key_F1 && qt <= Qt::Key_F24) return KEY_F1 + (qt - Qt::Key_F1);
    if (const int key = key_in(NAMED_KEYS, qt)) return key;
    if (const int key = key_in(BRACKET_KEYS, qt)) return key;
    if (const int key = key_of_place(event.nativeScanCode())) return key;
    return sign_key(qt, event.modifiers() & Qt::ShiftModifier);
}

QT_KEY qt_key(int virtual_key) {
    if (plain_character(virtual_key)) return {virtual_key, false, QString(QChar(virtual_key)).toLower()};
    if (virtual_key >= KEY_F1 && virtual_key < KEY_F1 + 24) return {Qt::Key_F1 + (virtual_key - KEY_F1), false, {}};
    if (virtual_key >= KEY_NUMPAD0 && virtual_key <= KEY_NUMPAD0 + 9) {
        const int digit = '0' + (virtual_key - KEY_NUMPAD0);
        return {digit, true, QString(QChar(digit))};
    }
    if (const int key = qt_in(PAD_KEYS, virtual_key)) return {key, true, QString(QChar(key))};
    if (const int key = qt_in(SIGN_KEYS, virtual_key)) return {key, false, QString(QChar(key))};
    const int key = qt_in(NAMED_KEYS, virtual_key);
    QString text;
    if (virtual_key == KEY_SPACE) text = " ";
    if (virtual_key == KEY_RETURN) text = "\r";
    if (virtual_key == KEY_BACK) text = "\b";
    if (virtual_key == KEY_TAB) text = "\t";
    if (virtual_key == KEY_ESCAPE) text = "\x1b";
    return {key ? key : int(Qt::Key_unknown), false, text};
}

Qt::KeyboardModifier key_modifier(int key) {
    switch (key) {
        case KEY_SHIFT: return Qt::ShiftModifier;
        case KEY_CONTROL: return Qt::ControlModifier;
        case KEY_MENU: return Qt::AltModifier;
        default: return Qt::NoModifier;
    }
}
