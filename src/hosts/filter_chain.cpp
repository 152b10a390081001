#include <cstdio>

#include "core/ui_breath.h"
#include "hosts/filter.h"
#include "hosts/filter_cache.h"
#include "hosts/filter_call.h"
#include "hosts/filter_record.h"
#include "pixels/frame_buffer.h"
#include "platform/text.h"
#include "resources/string_ids.h"

static FILTER* chain[FILTER_LIST_MAX];
static FILTER_OBSERVER observer;
static void* observer_data;

FILTER* const* filter_chain() { return chain; }

void filter_chain_set_observer(FILTER_OBSERVER told, void* data) {
    observer = told;
    observer_data = data;
}

// ---- order

static bool outside_chain(const FILTER* filter) {
    return filter->flags & (FILTER_F_DISPLAY | FILTER_F_DEINTERLACE_METHOD);
}

static bool takes_place(const FILTER* filter) { return filter->func_proc && !outside_chain(filter); }

// Whether a filter takes a number of its own among the default places.
static bool is_counted(const FILTER* filter) {
    const FILTER_BUILT_IN* row = filter_record(filter)->row;
    const bool in_chain = takes_place(filter) || (row && row->in_chain);
    return in_chain && !(filter->flags & (FILTER_F_ORDER_FIRST | FILTER_F_ORDER_LAST));
}

int filter_default_order(const FILTER* filter) {
    if (!takes_place(filter)) return -1;
    if (filter->flags & FILTER_F_ORDER_FIRST) return 0;
    if (filter->flags & FILTER_F_ORDER_LAST) return FILTER_PLACE_MAX;
    int place = 1;
    for (FILTER* const* at = filter_list(); *at && *at != filter; ++at) place += is_counted(*at);
    return place;
}

int filter_chain_rebuild() {
    int n = 0;
    for (int place = 0; place <= FILTER_PLACE_MAX; ++place) {
        for (FILTER* const* at = filter_list(); *at; ++at) {
            if ((*at)->chain_order == place) chain[n++] = *at;
        }
    }
    chain[n] = nullptr;
    filter_cache_clear_all();
    FILTER* tool = filter_count() > 0 ? filter_built_in(STR_FILTER_TOOL_WINDOW) : nullptr;
    if (tool && (tool->flags & FILTER_F_SHOWN) && filter_window_hooks.send)
        filter_window_hooks.send(tool, FILTER_MSG_WINDOW_CHANGED, 0);
    return 1;
}

// ---- one step

static bool intact(const YC48_PIXEL* image) {
    return !image || frame_buffer_intact(reinterpret_cast<const uint8_t*>(image));
}

static bool pictures_intact(const FILTER_PROC_PARAM& param) { return intact(param.image) && intact(param.scratch); }

static void run(FILTER* filter, FILTER_PROC_PARAM* param) {
    if (observer) observer(filter->name, param->frame, observer_data);
    const FILTER_CACHE_MARK mark = filter_cache_mark();
    const bool intact_before = pictures_intact(*param);
    if (!filter_call(filter, "FILTER::func_proc()", [&] { filter->func_proc(filter, param); }))
        filter_cache_restore(mark);
    // Only builds with assertions can tell (frame_buffer.h).
    if (intact_before && !pictures_intact(*param))
        std::fprintf(stderr, "vantel: filter %s wrote outside its pictures\n", text_to_utf8(filter->name).c_str());
}

static void begin_video(FILTER_PROC_PARAM* param, const char* profile) {
    filter_profile_switch(profile);
    param->flags &= ~uint32_t(PROC_F_FIELDS_SWAPPED);
    if (filter_selected(filter_built_in(STR_FILTER_FIELD_ORDER)) == 1) param->flags |= PROC_F_FIELDS_SWAPPED;
}

static bool is_video(const FILTER* filter) {
    return !(filter->flags & (FILTER_F_DISPLAY | FILTER_F_AUDIO | FILTER_F_DEINTERLACE_METHOD));
}

static bool runs(const FILTER* filter) { return (filter->flags & FILTER_F_ACTIVE) && filter->func_proc; }

// ---- walks

FILTER* filter_chain_restart_point(FILTER_PROC_PARAM*, const char* profile, FILTER* stop) {
    filter_profile_switch(profile);
    FILTER* found = nullptr;
    for (FILTER** at = chain; *at && *at != stop; ++at) {
        if (is_video(*at) && runs(*at) && ((*at)->flags & FILTER_F_TEMPORAL)) found = *at;
    }
    return found;
}

int filter_chain_run(FILTER_PROC_PARAM* param, const char* profile, FILTER* start, FILTER* stop) {
    begin_video(param, profile);
    bool reached = !start;
    for (FILTER** at = chain; *at && *at != stop; ++at) {
        ui_breathe();
        reached = reached || *at == start;
        if (reached && is_video(*at) && runs(*at)) run(*at, param);
    }
    return 1;
}

int filter_chain_run_audio(FILTER_PROC_PARAM* param, const char* profile, FILTER* stop) {
    filter_profile_switch(profile);
    for (FILTER** at = chain; *at && *at != stop; ++at) {
        if (((*at)->flags & FILTER_F_AUDIO) && runs(*at)) run(*at, param);
    }
    return 1;
}

int filter_run_deinterlace(FILTER_PROC_PARAM* param, const char* profile, int method) {
    begin_video(param, profile);
    FILTER* filter = filter_deinterlace_method(method);
    if (filter && filter->func_proc) run(filter, param);
    return 1;
}

int filter_run_display(FILTER_PROC_PARAM* param, const char* profile) {
    if (filter_headless()) return 1;
    begin_video(param, profile);
    for (FILTER* const* at = filter_list(); *at; ++at) {
        if (((*at)->flags & FILTER_F_DISPLAY) && runs(*at)) run(*at, param);
    }
    return 1;
}
