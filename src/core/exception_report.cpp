#include "core/exception_report.h"

#include <cstdio>
#include <string>

#include "core/ui_hooks.h"
#include "platform/guard.h"
#include "platform/text.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static std::string module_text(const GUARD_FAULT& fault) {
    if (!fault.module[0]) return language_text_utf8(STR_EXCEPTION_MODULE_UNKNOWN);
    char text[sizeof fault.module + 100];
    std::snprintf(text, sizeof text, language_text_utf8(STR_EXCEPTION_MODULE).c_str(), fault.module,
                  static_cast<unsigned long long>(fault.offset));
    return text;
}

// language_text_utf8 hands out its own copy and reads constant tables only, so a worker may report too.
static bool exception_report(const GUARD_FAULT& fault, const char* name, const char* place) {
    const std::string module = module_text(fault);
    char text[sizeof fault.module + 1000];
    std::snprintf(text, sizeof text, language_text_utf8(STR_ASK_EXCEPTION).c_str(),
                  static_cast<unsigned long long>(fault.address), unsigned(fault.code), module.c_str(), place,
                  text_to_utf8(name).c_str());
    if (ui_hooks.ask_continue) return ui_hooks.ask_continue(text_from_utf8(text).c_str());
    std::fprintf(stderr, "vantel: %s\n", text);
    return false;
}

void exception_report_install() { guard_reporter = exception_report; }
