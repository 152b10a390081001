#include "core/ui_hooks.h"

UI_HOOKS ui_hooks;
