#include "ui/filter_windows.h"

#include "resources/templates.h"
#include "ui/filter_window_parts.h"
#include "ui/filter_window_tools.h"

FILTER_WINDOWS filter_windows;

static void drop(FILTER* filter) {
    filter_window_forget(filter);
    filter_menu_drop(filter);
}

static void send(FILTER* filter, uint32_t message, uintptr_t wparam) {
    if (filter->window) window_send(filter_window(filter), message, wparam, 0);
}

static void post(FILTER* filter, uint32_t message, uintptr_t wparam) {
    if (filter->window) window_post(filter_window(filter), message, wparam, 0);
}

static void repaint(FILTER* filter) {
    if (filter->window) window_invalidate(filter_window(filter));
}

// Filters that follow the main window learn where it is.
static void started() {
    filter_menu_place_holders_remove();
    const RECT client = window_client(filter_windows.main);
    window_send(filter_windows.main, WM_MOVE, 0, message_point(client.left, client.top));
}

static void stopped() {
    for (FILTER* const* at = filter_list(); *at; ++at) filter_window_forget(*at);
    if (filter_windows.context) menu_destroy(filter_windows.context);
    filter_windows = {};
    filter_window_hooks = {};
}

void filter_windows_install(WINDOW* main_window, MENU* main_menu) {
    filter_windows = {};
    filter_windows.main = main_window;
    filter_windows.menu = main_menu;
    filter_windows.context = menu_create(language_menu("CONTEXT2"));
    filter_windows.switches = menu_holding(main_menu, 10000);
    filter_windows.settings = menu_holding(main_menu, 11000);
    filter_window_tools_install();
    filter_window_hooks = {.make = filter_window_make,
                           .drop = drop,
                           .show = filter_window_show_values,
                           .send = send,
                           .post = post,
                           .repaint = repaint,
                           .started = started,
                           .store = filter_window_store,
                           .stopped = stopped};
}
