#include <atomic>
#include <memory>
#include <thread>

#include "platform/text.h"
#include "platform/thread.h"
#include "platform/window_box.h"
#include "resources/language.h"
#include "resources/string_ids.h"
#include "ui/dialogs.h"
#include "ui/dialogs_hooks.h"

void dialog_warn(const char* text) { dialog_warn_file(text, ""); }

void dialog_warn_file(const char* text, const char* detail) {
    message_box(dialogs_owner(), language_text_utf8(STR_PROGRAM), text_to_utf8(text), BOX_WARNING, BOX_OK,
                text_to_utf8(detail));
}

bool dialog_ask(const char* text) {
    return message_box(dialogs_owner(), language_text_utf8(STR_PROGRAM), text_to_utf8(text), BOX_QUESTION,
                       BOX_OK_CANCEL);
}

bool dialog_ask_text(int title_id, char* buffer, size_t size) {
    constexpr int FIELD = 32100;
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        control_set_text(control_of(dialog, FIELD), text_to_utf8(buffer));
        control_select_all(control_of(dialog, FIELD));
    };
    steps.take = [&](WINDOW* dialog) { return dialogs_take_text(control_of(dialog, FIELD), buffer, size); };
    return dialogs_run_titled("STRINGS", language_text_utf8(title_id), steps);
}

// ---- a question that any thread may ask

namespace {

struct CONTINUE_QUESTION {
    std::string text;
    bool answer = false;
    EVENT_PTR answered = event_create();
};
using QUESTION_PTR = std::shared_ptr<CONTINUE_QUESTION>;

constexpr int WAIT_MS = 200;

// The window takes questions over from other threads. Those look at `asking` now and then, for a message that is never
// handled, because the window has gone, would let them wait for ever.
WINDOW* ask_window;
std::atomic<bool> asking;
std::thread::id main_thread;

bool show_question(const std::string& text) {
    return message_box(dialogs_owner(), language_text_utf8(STR_TITLE_EXCEPTION), text_to_utf8(text), BOX_STOP,
                       BOX_YES_NO);
}

intptr_t ask_proc(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message != WM_USER) return window_default(window, message, wparam, lparam);
    const std::unique_ptr<QUESTION_PTR> question(reinterpret_cast<QUESTION_PTR*>(lparam));
    (*question)->answer = show_question((*question)->text);
    event_set((*question)->answered.get());
    return 1;
}

bool hand_over(const char* text) {
    const QUESTION_PTR question = std::make_shared<CONTINUE_QUESTION>();
    question->text = text;
    if (!question->answered) return false;
    window_post(ask_window, WM_USER, 0, reinterpret_cast<intptr_t>(new QUESTION_PTR(question)));
    while (!event_wait(question->answered.get(), WAIT_MS))
        if (!asking) return false;
    return question->answer;
}

}  // namespace

bool dialog_ask_continue(const char* text) {
    if (std::this_thread::get_id() == main_thread) return show_question(text);
    return asking && hand_over(text);
}

void dialog_box_start() {
    main_thread = std::this_thread::get_id();
    if (!ask_window) ask_window = window_create({WINDOW_TOOL, 0, "", nullptr, ask_proc, 0, 0, 1, 1});
    asking = ask_window != nullptr;
}

void dialog_box_stop() {
    asking = false;
    if (ask_window) window_destroy(ask_window);
    ask_window = nullptr;
}
