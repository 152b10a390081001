#include <cstdio>
#include <cstring>

#include "hosts/filter_functions.h"
#include "hosts/filter_record.h"
#include "resources/string_ids.h"

// The holder's list has one entry a method, so more methods than that cannot be chosen.
static FILTER* methods[FILTER_CHECK_MAX];
static int method_n;

void filter_deinterlace_clear() { method_n = 0; }

void filter_deinterlace_register(FILTER* method) {
    if (method_n >= FILTER_CHECK_MAX) return;
    methods[method_n] = method;
    FILTER* holder = filter_built_in(STR_FILTER_DEINTERLACE);
    filter_check_append(holder, method->name, method_n == 0);
    ++method_n;
}

FILTER* filter_deinterlace_method(int method) { return method >= 0 && method < method_n ? methods[method] : nullptr; }

// ---- the choice by name

static bool label_is(const FILTER* filter, int index, const char* name) {
    char label[FILTER_EXTRA_MAX];
    std::snprintf(label, sizeof label, "%s", filter->check_labels[index]);
    return std::strcmp(label, name) == 0;
}

static int find_label(const FILTER* filter, const char* name) {
    for (int i = 0; i < filter->check_count; ++i) {
        if (label_is(filter, i, name)) return i;
    }
    return 0;
}

/// The numbers of the methods move when plug-ins come and go; the name kept with the settings does not.
int filter_deinterlace_update(FILTER* filter, int32_t status) {
    const int selected = filter_selected(filter);
    if (selected >= filter->check_count) return 0;
    char* stored = static_cast<char*>(filter->extra_data);
    stored[FILTER_EXTRA_MAX - 1] = 0;  // it may come from a file
    if (status == 0 && *stored && !label_is(filter, selected, stored)) {
        filter_select(filter, find_label(filter, stored));
        return 1;
    }
    std::snprintf(stored, FILTER_EXTRA_MAX, "%s", filter->check_labels[selected]);
    return 1;
}
