#pragma once

#include <QWidget>

#include "platform/window_control.h"

class QApplication;
class QIcon;
class QKeyEvent;
class QPainter;
class QScrollBar;
struct MENU;

/// What stands behind a WINDOW. Only inside this folder.
struct WINDOW {
    QWidget* widget = nullptr;  // gets the input and is painted: the client area of a window, the control itself
    QWidget* frame = nullptr;   // what the desktop moves about: the top-level widget; the same as widget for a control
    WINDOW* parent = nullptr;   // owner of a window, holder of a control
    WINDOW_PROC proc = nullptr;
    void* data = nullptr;
    int id = 0;                       // of a control
    CONTROL_KIND kind = CONTROL_END;  // of a control; CONTROL_END: a window
    std::vector<WINDOW*> children;    // controls, in the order in which they were made

    // of windows made by window_create
    bool canvas = false;  // `widget` is a client area of ours: its input and painting become messages
    bool sizable = false;
    bool drops = false;
    bool quiet = false;    // the frame is made anew; nothing of that is told
    bool leaving = false;  // WM_DESTROY is running or has run
    MENU* menu = nullptr;
    QWidget* progress = nullptr;
    QScrollBar* bars[2] = {};  // horizontal, vertical
    QPainter* painter = nullptr;
    bool unpainted = false;  // a paint came during window_refresh
    QSize told_size;         // of the last WM_SIZE
    WINDOW_STATE told_state = WINDOW_NORMAL;
    QPoint told_place;   // of the last WM_MOVE
    int wheel_rest = 0;  // of turns that are finer than a notch
};

/// Enters a new record into the table of living windows, and takes it out again with its children (WM_DESTROY is sent
/// first to windows). The widgets' own ends call the second one too; `widget` and `frame` are then null already.
WINDOW* window_enter(WINDOW* parent, QWidget* widget, QWidget* frame);
void window_forget(WINDOW* window);
/// The record of a widget or a frame, null when it has none; and of the nearest widget around it that has one.
WINDOW* window_of(const QWidget* widget);
WINDOW* window_around(const QWidget* widget);
/// The widgets of a living window; null otherwise.
QWidget* widget_of(const WINDOW* window);
QWidget* frame_of(const WINDOW* window);
/// Every window, and the end of them all.
std::vector<WINDOW*> window_all();
void window_table_clear();

/// Runs the window's procedure, or window_default for a window without one; during window_refresh the message joins the
/// queue instead, and the result is 0.
intptr_t window_call(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam);
/// To the window that holds a control.
void control_notify(WINDOW* control, int note);

/// A message in our own queue. Those that come of input know which keys were held with it; what is posted while one of
/// them is handled inherits that.
struct QUEUED_MESSAGE {
    WINDOW* window;
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    bool input = false;
    Qt::KeyboardModifiers modifiers;
};
void queue_start();
void queue_stop();
/// Input: waits when `wait` or when anything waits already, so that all stays in order; else it is handled at once.
void queue_input(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, Qt::KeyboardModifiers modifiers,
                 bool wait);
/// Handles the first message that waits. False: none does.
bool queue_handle_one();
/// Makes the loop look at the queue again after it was told to wait.
void queue_go_on();
void queue_forget(const WINDOW* window);
/// The keys held with the input that is being handled. False: none is.
bool queue_modifiers(Qt::KeyboardModifiers* modifiers);

/// Whether window_refresh runs; what it puts off is told with refresh_miss.
bool refresh_running();
void refresh_miss();
void refresh_painting(bool begins);

void timer_forget(const WINDOW* window);
void timer_clear();

/// What the event filter on every entered widget and frame does with an event. True: nobody else gets it.
bool window_event(WINDOW* window, QWidget* widget, QEvent* event);
bool window_input_event(WINDOW* window, QEvent* event);
bool window_drop_event(WINDOW* window, QEvent* event);
/// WM_SIZE and WM_MOVE, when something is new.
void window_tell_size(WINDOW* window);
void window_tell_place(WINDOW* window);
/// Lays a hidden window out, so that its sizes are those that it will have.
void window_lay_out(const WINDOW* window);
void window_place_progress(WINDOW* window);
/// Under Wayland a new title, and a new window inside the frame, are seen only with the frame's next picture: this
/// makes one soon.
void frame_renew(QWidget* frame);
/// What a WM_PAINT starts and ends with.
void window_paint(WINDOW* window, QWidget* widget);

/// Virtual key of a Qt key event, 0 for none; and the Qt::Key that gives a virtual key, with the text that it types.
int virtual_key(const QKeyEvent& event);
struct QT_KEY {
    int key;
    bool keypad;
    QString text;
};
QT_KEY qt_key(int virtual_key);
/// Modifier of KEY_SHIFT, KEY_CONTROL, KEY_MENU.
Qt::KeyboardModifier key_modifier(int key);
/// Keys and a pointer that input_... hold as if they were real.
Qt::KeyboardModifiers input_modifiers();
bool input_pointer(POINT* place);
void input_clear();

/// An icon of the program by its name.
QIcon program_icon(const char* name);
/// While it lives, the painter of the window's running WM_PAINT; null at other times.
QPainter* window_painter(WINDOW* window);
/// Follows the desktop while the application lives: its colours, and the end of its session.
void desktop_watch(QApplication* app);
/// Frees what draw_picture keeps for the next time.
void picture_clear();
inline QRect qt_rect(const RECT& rect) { return {rect.left, rect.top, rect.width, rect.height}; }
inline RECT rect_of(const QRect& rect) { return {rect.x(), rect.y(), rect.width(), rect.height()}; }
