#include "core/message.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "core/ui_hooks.h"
#include "platform/text.h"
#include "resources/language.h"

static int boxes_off_n;
static int silence_n;

void message_boxes_off() { ++boxes_off_n; }
void message_boxes_on() { --boxes_off_n; }
void message_silence(bool on) { silence_n += on ? 1 : -1; }

static std::string format_text(int id, va_list arguments) {
    const std::string format = text_from_utf8(language_text_utf8(id));
    va_list again;
    va_copy(again, arguments);
    const int n = std::vsnprintf(nullptr, 0, format.c_str(), again);
    va_end(again);
    std::string text(n > 0 ? size_t(n) : 0, '\0');
    if (n > 0) std::vsnprintf(text.data(), text.size() + 1, format.c_str(), arguments);
    return text;
}

// A terminal gets one line a message, whatever the box would break.
static std::string one_line(const std::string& text) {
    std::string line;
    for (const char c : text_to_utf8(text)) {
        if (c != '\n')
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    return line;
}

bool message_boxes_shown() { return boxes_off_n == 0 && silence_n == 0 && ui_hooks.warn; }

void message_warn(int id, ...) {
    va_list arguments;
    va_start(arguments, id);
    const std::string text = format_text(id, arguments);
    va_end(arguments);
    if (silence_n > 0) return;
    if (message_boxes_shown())
        ui_hooks.warn(text.c_str());
    else
        std::fprintf(stderr, "vantel: %s\n", one_line(text).c_str());
}

static void warn_in_box(const char* path, const std::string& text, const std::string& why) {
    if (!ui_hooks.warn_file) return ui_hooks.warn(text.c_str());
    ui_hooks.warn_file(text.c_str(), (why == text ? path : path + ("\n" + why)).c_str());
}

void message_warn_file(const char* path, int id, int reason, ...) {
    const bool boxed = message_boxes_shown();
    va_list arguments, again;
    va_start(arguments, reason);
    va_copy(again, arguments);
    const std::string text = format_text(id, arguments), why = format_text(reason ? reason : id, again);
    va_end(again);
    va_end(arguments);
    if (silence_n > 0) return;
    if (boxed)
        warn_in_box(path, text, why);
    else
        std::fprintf(stderr, "vantel: %s: %s\n", text_to_utf8(path).c_str(), one_line(why).c_str());
}

bool message_ask(int id, ...) {
    va_list arguments;
    va_start(arguments, id);
    const std::string text = format_text(id, arguments);
    va_end(arguments);
    if (boxes_off_n > 0 || silence_n > 0 || !ui_hooks.ask) return false;
    return ui_hooks.ask(text.c_str());
}

void message_note(int id, ...) {
    va_list arguments;
    va_start(arguments, id);
    const std::string text = format_text(id, arguments);
    va_end(arguments);
    std::fprintf(stderr, "%s\n", text_to_utf8(text).c_str());
}
