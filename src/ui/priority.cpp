#include "ui/priority.h"

#include <algorithm>

#include "core/edit_settings.h"
#include "platform/thread.h"

int priority_apply(int level) {
    static int reached;
    level = std::clamp(level, -2, 3);
    while (!process_set_priority(level)) {
        // Going back up needs a privilege, too, so a process that was slowed down may have to stay slow.
        if (level <= 0) return reached;
        --level;
    }
    return reached = level;
}

int priority_choose(int level) {
    edit_settings.priority = level;
    return priority_apply(level);
}
