#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Windows as a message layer: each window has a procedure that gets numbered messages, as filters know them. Native
/// widgets of the desktop stand behind it (platform/qt/). Main thread only, except where told. Texts are UTF-8.
/// Positions are logical pixels: of the client area where nothing else is told, top down.

/// A window, or a control inside one. Made by window_create, control_create (window_control.h) and dialog_run; gone
/// after window_destroy of it or of its parent. A pointer to a window that is gone may be asked about with
/// window_exists, posted to (the message is lost) and sent to (0).
struct WINDOW;

struct RECT {
    int left, top, width, height;
};
struct POINT {
    int x, y;
};

/// Messages, under the numbers that filters and their windows see. wparam and lparam as told; "point" is x in the low
/// and y in the high 16 bits of lparam, both signed.
enum WINDOW_MESSAGE : uint32_t {
    WM_CREATE = 1,
    WM_DESTROY = 2,  // the last one
    WM_MOVE = 3,     // point: the new place on the screen
    WM_SIZE = 5,     // wparam: WINDOW_STATE, point: the client area's new size
    WM_SETFOCUS = 7,
    WM_KILLFOCUS = 8,
    WM_PAINT = 15,          // the only time for the functions of window_draw.h
    WM_CLOSE = 16,          // the user wants it closed; window_default destroys it
    WM_SETTINGCHANGE = 26,  // theme, font or scale of the desktop changed
    WM_SHOWWINDOW = 24,     // wparam: 1 shown, 0 hidden
    WM_CONTEXTMENU = 123,   // lparam: place on the screen as a point, -1 from the keyboard
    WM_KEYDOWN = 256,       // wparam: virtual key, see WINDOW_KEY; lparam: bit 30 set while it repeats
    WM_KEYUP = 257,
    WM_CHAR = 258,        // wparam: UTF-16 unit
    WM_SYSKEYDOWN = 260,  // a key while Alt is held, or F10, for which window_default opens a menu
    WM_SYSKEYUP = 261,
    WM_INITDIALOG = 272,  // controls stand; lparam: the data given to dialog_run
    WM_COMMAND = 273,     // wparam: id | CONTROL_NOTE << 16; lparam: the control, 0 from a menu
    WM_TIMER = 275,       // wparam: the timer's number
    WM_HSCROLL = 276,     // wparam: SCROLL_CODE | place << 16; lparam: the slider, 0 = the window's own bar
    WM_VSCROLL = 277,
    WM_MOUSEMOVE = 512,  // mouse messages: wparam WINDOW_MOUSE bits, point: client area
    WM_LBUTTONDOWN = 513,
    WM_LBUTTONUP = 514,
    WM_LBUTTONDBLCLK = 515,
    WM_RBUTTONDOWN = 516,
    WM_RBUTTONUP = 517,  // window_default turns it into WM_CONTEXTMENU
    WM_MBUTTONDOWN = 519,
    WM_MBUTTONUP = 520,
    WM_MOUSEWHEEL = 522,  // wparam: bits | turn << 16, 120 a notch, positive away from the user; point: screen
    WM_MOVING = 534,      // lparam: RECT* of the frame on the screen, which may be changed
    WM_ENTERSIZEMOVE = 561,
    WM_EXITSIZEMOVE = 562,
    WM_DROPFILES = 563,  // window_dropped_files tells which
    WM_USER = 1024,
};
enum WINDOW_STATE { WINDOW_NORMAL = 0, WINDOW_MINIMISED = 1, WINDOW_MAXIMISED = 2 };
enum WINDOW_MOUSE { MOUSE_LEFT = 1, MOUSE_RIGHT = 2, MOUSE_SHIFT = 4, MOUSE_CTRL = 8, MOUSE_MIDDLE = 16 };
enum SCROLL_CODE {
    SCROLL_LINE_LESS = 0,
    SCROLL_LINE_MORE = 1,
    SCROLL_PAGE_LESS = 2,
    SCROLL_PAGE_MORE = 3,
    SCROLL_THUMB_DONE = 4,
    SCROLL_THUMB_MOVES = 5,
    SCROLL_ENDS = 8,
};
/// Virtual keys that have names; letters and digits are their capital ASCII code, function keys F1 .. F24 0x70 up.
enum WINDOW_KEY {
    KEY_BACK = 0x08,
    KEY_TAB = 0x09,
    KEY_RETURN = 0x0D,
    KEY_SHIFT = 0x10,
    KEY_CONTROL = 0x11,
    KEY_MENU = 0x12,
    KEY_PAUSE = 0x13,
    KEY_CAPITAL = 0x14,
    KEY_ESCAPE = 0x1B,
    KEY_CONVERT = 0x1C,
    KEY_NONCONVERT = 0x1D,
    KEY_SPACE = 0x20,
    KEY_PRIOR = 0x21,
    KEY_NEXT = 0x22,
    KEY_END = 0x23,
    KEY_HOME = 0x24,
    KEY_LEFT = 0x25,
    KEY_UP = 0x26,
    KEY_RIGHT = 0x27,
    KEY_DOWN = 0x28,
    KEY_INSERT = 0x2D,
    KEY_DELETE = 0x2E,
    KEY_NUMPAD0 = 0x60,
    KEY_MULTIPLY = 0x6A,
    KEY_ADD = 0x6B,
    KEY_SUBTRACT = 0x6D,
    KEY_DECIMAL = 0x6E,
    KEY_DIVIDE = 0x6F,
    KEY_F1 = 0x70,
    KEY_OEM_1 = 0xBA,
    KEY_OEM_PLUS = 0xBB,
    KEY_OEM_COMMA = 0xBC,
    KEY_OEM_MINUS = 0xBD,
    KEY_OEM_PERIOD = 0xBE,
    KEY_OEM_2 = 0xBF,
    KEY_OEM_3 = 0xC0,
    KEY_OEM_4 = 0xDB,
    KEY_OEM_5 = 0xDC,
    KEY_OEM_6 = 0xDD,
    KEY_OEM_7 = 0xDE,
    KEY_OEM_102 = 0xE2,
};

constexpr int message_x(intptr_t lparam) { return int16_t(lparam & 0xFFFF); }
constexpr int message_y(intptr_t lparam) { return int16_t((lparam >> 16) & 0xFFFF); }
constexpr intptr_t message_point(int x, int y) { return intptr_t(uint32_t(x & 0xFFFF) | uint32_t(y & 0xFFFF) << 16); }
constexpr int command_id(uintptr_t wparam) { return int(wparam & 0xFFFF); }
constexpr int command_note(uintptr_t wparam) { return int((wparam >> 16) & 0xFFFF); }

/// Handles one message. What it does not handle goes to window_default, whose result it returns.
using WINDOW_PROC = intptr_t (*)(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
intptr_t window_default(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);

// ---- the system

/// Before all else; after window_system_stop it may be started again. Without a display the windows exist but nobody
/// sees them. False: no window can be made. name: of the program, for the desktop.
bool window_system_start(const char* name);
void window_system_stop();
bool window_system_running();
/// The language of what the desktop's own boxes and buttons say, as "ja"; where it is not known they stay English.
void window_system_language(const char* code);
/// Whether a person can see the windows.
bool window_system_visible();

/// The message loop, until window_quit. Returns the code given there.
int window_run();
void window_quit(int code);
/// The same for a signal handler, which may call nothing else of these: the loop ends when it comes round. An earlier
/// code stays. False: the window system is not started.
bool window_quit_from_signal(int code);
/// Handles everything that waits, posted messages included, and returns. False: window_quit was called. For long work
/// on the main thread; a repaint that is due happens here.
bool window_pump();

/// Answers the desktop and shows what is painted, in the middle of work during which nothing can be handled: no window
/// gets a message. Input and posted messages wait; what else comes up meanwhile joins the queue; a repaint that needs
/// WM_PAINT follows later. Nothing happens during a WM_PAINT and on other threads.
void window_refresh();

/// Behind what waits already; from any thread. A posted message is handled from window_run, window_pump or inside a
/// modal dialog.
void window_post(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
/// At once. Returns what the procedure returned.
intptr_t window_send(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
/// Whether a message of this number waits for the window. Wheel turns and movements of a slider wait in the queue like
/// posted messages, one each; of the pointer's only the last, as long as nothing else has come behind it.
bool window_waiting(WINDOW* window, uint32_t message);

/// WM_TIMER every so many milliseconds; a number in use is started anew. Stopping one that does not run does nothing.
void timer_start(WINDOW* window, int number, int milliseconds);
void timer_stop(WINDOW* window, int number);

// ---- windows

enum WINDOW_KIND {
    WINDOW_MAIN,      // with room for a menu bar
    WINDOW_TOOL,      // small title, stays above its owner and leaves the task list alone
    WINDOW_LIST_TOOL  // the same, a window that the user may minimise by itself
};
enum : uint32_t {
    WINDOW_F_SIZABLE = 1,
    WINDOW_F_HSCROLL = 2,  // scroll bars of its own; range and place with window_scroll_...
    WINDOW_F_VSCROLL = 4,
    WINDOW_F_ICON = 8,  // icon of the program
};
struct WINDOW_MAKE {
    WINDOW_KIND kind;
    uint32_t flags;
    const char* title;
    WINDOW* owner;  // null: none
    WINDOW_PROC proc;
    int x, y;           // of the frame on the screen
    int width, height;  // of the client area
};
/// Makes a hidden window; its procedure gets WM_CREATE first. Null on failure.
WINDOW* window_create(const WINDOW_MAKE& make);
void window_destroy(WINDOW* window);
bool window_exists(const WINDOW* window);

/// One pointer for the owner's own use, null at first.
void window_set_data(WINDOW* window, void* data);
void* window_data(const WINDOW* window);
WINDOW* window_parent(const WINDOW* window);

void window_set_title(WINDOW* window, const std::string& title);
std::string window_title(const WINDOW* window);
/// The name that screen readers tell and tests look for.
void window_set_name(WINDOW* window, const std::string& name);

void window_show(WINDOW* window, bool show);
bool window_shown(const WINDOW* window);
void window_enable(WINDOW* window, bool enable);
bool window_enabled(const WINDOW* window);
/// To the front, with the keyboard.
void window_activate(WINDOW* window);
void window_focus(WINDOW* window);
WINDOW* window_focused();
void window_on_top(WINDOW* window, bool on);
/// Asks the desktop to point at the window, once.
void window_flash(WINDOW* window);
WINDOW_STATE window_state(const WINDOW* window);
void window_set_state(WINDOW* window, WINDOW_STATE state);

/// The frame on the screen, and the client area with its place on the screen. A control's rectangle is told and set
/// within its parent's client area.
RECT window_frame(const WINDOW* window);
RECT window_client(const WINDOW* window);
void window_move(WINDOW* window, int x, int y);
void window_resize_client(WINDOW* window, int width, int height);
void window_set_min_client(WINDOW* window, int width, int height);
POINT window_to_screen(const WINDOW* window, POINT point);
POINT window_from_screen(const WINDOW* window, POINT point);

/// Whether any part of a rectangle of the screen lies on a monitor; the height of the first monitor.
bool screen_holds(const RECT& frame);
RECT screen_desktop();

/// WM_PAINT soon, once for several calls; and at once.
void window_invalidate(WINDOW* window);
void window_repaint(WINDOW* window);

/// All mouse messages go to the window until the release.
void window_capture(WINDOW* window, bool on);
POINT pointer_place();
/// Whether a key is held now: KEY_SHIFT, KEY_CONTROL, KEY_MENU.
bool key_held(int key);
/// The keyboard's repeat: milliseconds to the first and between the next ones.
int key_repeat_delay();
int key_repeat_interval();

/// Scroll bars of WINDOW_F_HSCROLL (vertical false) and WINDOW_F_VSCROLL. high: the last place of the whole content, of
/// which `page` places are seen at once, so the bar reaches high - page + 1.
void window_scroll_range(WINDOW* window, bool vertical, int low, int high, int page);
void window_scroll_set(WINDOW* window, bool vertical, int place);
int window_scroll_place(const WINDOW* window, bool vertical);

/// Files dropped onto the window: WM_DROPFILES, with their names here until the next drop.
void window_accept_drops(WINDOW* window, bool on);
const std::vector<std::string>& window_dropped_files();

/// A thin bar at the edge of a main window: 0 .. 1000, -1 hides it.
void window_set_progress(WINDOW* window, int permille);
