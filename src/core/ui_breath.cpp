#include "core/ui_breath.h"

#include "core/ui_hooks.h"
#include "platform/clock.h"

static int64_t taken_ms;

void ui_breath_taken() { taken_ms = clock_ms(); }

bool ui_breath_needed() { return ui_hooks.breathe != nullptr; }

void ui_breathe() {
    if (!ui_hooks.breathe || clock_ms() - taken_ms < BREATH_MS) return;
    ui_hooks.breathe();
    ui_breath_taken();
}
