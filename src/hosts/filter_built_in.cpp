#include <cstring>

#include "hosts/filter_functions.h"
#include "hosts/filter_record.h"
#include "hosts/filter_size_list.h"
#include "resources/string_ids.h"

// ---- tracks and checks

static constexpr FILTER_TRACK_ROW NOISE_TRACKS[] = {
    {STR_TRACK_STRENGTH, 0, 256, 256}, {STR_TRACK_RANGE, 1, 3, 2}, {STR_TRACK_THRESHOLD, 0, 256, 24}};
static constexpr FILTER_TRACK_ROW NOISE_TIME_TRACKS[] = {
    {STR_TRACK_STRENGTH, 0, 256, 256}, {STR_TRACK_RANGE, 1, 3, 3}, {STR_TRACK_THRESHOLD, 0, 256, 36}};
static constexpr FILTER_TRACK_ROW SHARPEN_TRACKS[] = {{STR_TRACK_STRENGTH, 0, 256, 256},
                                                      {STR_TRACK_RANGE, 1, 3, 2},
                                                      {STR_TRACK_LOWER_LIMIT, 0, 1024, 128},
                                                      {STR_TRACK_UPPER_LIMIT, 0, 1024, 1024}};
static constexpr FILTER_TRACK_ROW BLUR_TRACKS[] = {{STR_TRACK_STRENGTH, 0, 256, 256},
                                                   {STR_TRACK_RANGE, 0, 3, 2},
                                                   {STR_TRACK_LOWER_LIMIT, 0, 1024, 0},
                                                   {STR_TRACK_UPPER_LIMIT, 0, 1024, 1024}};
static constexpr FILTER_TRACK_ROW CLIP_TRACKS[] = {{STR_TRACK_TOP, 0, 1024, 0},
                                                   {STR_TRACK_BOTTOM, 0, 1024, 0},
                                                   {STR_TRACK_LEFT, 0, 1024, 0},
                                                   {STR_TRACK_RIGHT, 0, 1024, 0}};
static constexpr FILTER_TRACK_ROW BORDER_TRACKS[] = {{STR_TRACK_TOP, -1024, 1024, 0},
                                                     {STR_TRACK_BOTTOM, -1024, 1024, 0},
                                                     {STR_TRACK_LEFT, -1024, 1024, 0},
                                                     {STR_TRACK_RIGHT, -1024, 1024, 0}};
static constexpr FILTER_CHECK_ROW BORDER_CHECKS[] = {{STR_CHECK_CENTER, 0}, {STR_CHECK_EDGE_COLOR, 0}};
static constexpr FILTER_TRACK_ROW COLOR_TRACKS[] = {
    {STR_TRACK_BRIGHTNESS, -256, 256, 0}, {STR_TRACK_CONTRAST, -256, 256, 0},   {STR_TRACK_GAMMA, -256, 256, 0},
    {STR_TRACK_LUMA, -256, 256, 0},       {STR_TRACK_SATURATION, -256, 256, 0}, {STR_TRACK_HUE, -256, 256, 0}};
static constexpr FILTER_TRACK_ROW COLOR_EXTENDED_TRACKS[] = {
    {STR_TRACK_Y_OFFSET, -256, 256, 0}, {STR_TRACK_Y_GAIN, -256, 256, 0},    {STR_TRACK_CB_OFFSET, -256, 256, 0},
    {STR_TRACK_CB_GAIN, -256, 256, 0},  {STR_TRACK_CR_OFFSET, -256, 256, 0}, {STR_TRACK_CR_GAIN, -256, 256, 0},
    {STR_TRACK_R_OFFSET, -256, 256, 0}, {STR_TRACK_R_GAIN, -256, 256, 0},    {STR_TRACK_R_GAMMA, -256, 256, 0},
    {STR_TRACK_G_OFFSET, -256, 256, 0}, {STR_TRACK_G_GAIN, -256, 256, 0},    {STR_TRACK_G_GAMMA, -256, 256, 0},
    {STR_TRACK_B_OFFSET, -256, 256, 0}, {STR_TRACK_B_GAIN, -256, 256, 0},    {STR_TRACK_B_GAMMA, -256, 256, 0}};
static constexpr FILTER_CHECK_ROW COLOR_EXTENDED_CHECKS[] = {
    {STR_CHECK_RGB_SYNC, 0}, {STR_CHECK_TV_TO_PC, 0}, {STR_CHECK_PC_TO_TV, 0}};
static constexpr FILTER_TRACK_ROW AUDIO_POSITION_TRACKS[] = {{STR_TRACK_POSITION, -999, 999, 0}};
static constexpr FILTER_TRACK_ROW VOLUME_TRACKS[] = {{STR_TRACK_LEVEL, -256, 256, 0}};
static constexpr FILTER_TRACK_ROW NORMALISE_TRACKS[] = {{STR_TRACK_LEVEL, 0, 256, 256}};
static constexpr FILTER_TRACK_ROW AUTO_24FPS_TRACKS[] = {{STR_TRACK_THRESHOLD, 0, 256, 64},
                                                         {STR_TRACK_RANGE, 0, 256, 16}};
static constexpr FILTER_CHECK_ROW AUTO_24FPS_CHECKS[] = {{STR_CHECK_BLEND_STRIPES, 0}};
static constexpr FILTER_CHECK_ROW FIELD_CHECKS[] = {{STR_CHECK_INTERPOLATE, 1}, {STR_CHECK_ADAPTIVE, 1}};
static constexpr FILTER_CHECK_ROW FIELD_ORDER_CHECKS[] = {{STR_ORDER_BOTTOM_FIRST, 0}, {STR_ORDER_TOP_FIRST, 1}};
static constexpr FILTER_CHECK_ROW SIZE_CHECKS[] = {{STR_NONE, 1}};  // append_sizes adds the others
static constexpr FILTER_CHECK_ROW RATE_CHANGE_CHECKS[] = {{STR_NONE, 1},
                                                          {STR_RATE_24_FROM_30, 0},
                                                          {STR_RATE_20_FROM_30, 0},
                                                          {STR_RATE_15_FROM_30, 0},
                                                          {STR_RATE_12_FROM_30, 0},
                                                          {STR_RATE_10_FROM_30, 0}};
static constexpr FILTER_CHECK_ROW RATE_SETTING_CHECKS[] = {{STR_RATE_AUTO_24_DECIMATION, 0}};
static constexpr FILTER_CHECK_ROW COLOR_IN_CHECKS[] = {{STR_COLOR_HEAD_INPUT, -1}};
static constexpr FILTER_CHECK_ROW COLOR_OUT_CHECKS[] = {{STR_COLOR_HEAD_OUTPUT, -1}};

// ---- extra data

static constexpr uint8_t DEINTERLACE_EXTRA[256] = {};                  // name of the chosen method
static constexpr uint8_t CLIP_EXTRA[12] = {};                          // target width, height, keep aspect
static constexpr uint8_t SIZE_EXTRA[8] = {0x40, 0x01, 0, 0, 0xF0, 0};  // 320 x 240, little-endian

// ---- the table

static constexpr uint32_t WINDOW_FLAGS =
    FILTER_F_ALWAYS_ON | FILTER_F_ORDER_LAST | FILTER_F_OWN_SIZE | FILTER_F_DISPLAY | FILTER_F_TEXT_IDS;
static constexpr uint32_t RADIO_FLAGS =
    FILTER_F_ALWAYS_ON | FILTER_F_MENU_RADIO | FILTER_F_PLAIN_TITLE | FILTER_F_TEXT_IDS;
static constexpr uint32_t METHOD_FLAGS = FILTER_F_ALWAYS_ON | FILTER_F_TEXT_IDS | FILTER_F_DEINTERLACE_METHOD;

constexpr FILTER_BUILT_IN FILTER_BUILT_IN_TABLE[FILTER_BUILT_IN_N] = {
    {.name = STR_FILTER_PLAY_WINDOW,
     .flags = WINDOW_FLAGS | FILTER_F_SIZABLE,
     .pos_x = FILTER_SIZE_CLIENT | 328,
     .pos_y = FILTER_SIZE_CLIENT | 313},
    {.name = STR_FILTER_TOOL_WINDOW, .flags = WINDOW_FLAGS, .pos_x = 258, .pos_y = 46},
    {.name = STR_FILTER_HISTOGRAM,
     .flags = WINDOW_FLAGS,
     .pos_x = FILTER_SIZE_CLIENT | 256,
     .pos_y = FILTER_SIZE_CLIENT | 242,
     .func_proc = histogram_proc},
    {.name = STR_FILTER_NOISE,
     .flags = FILTER_F_TEXT_IDS,
     .tracks = NOISE_TRACKS,
     .in_chain = true,
     .func_proc = noise_proc},
    {.name = STR_FILTER_NOISE_TIME,
     .flags = FILTER_F_TEXT_IDS | FILTER_F_TEMPORAL | FILTER_F_ORDER_FIRST,
     .tracks = NOISE_TIME_TRACKS,
     .in_chain = true,
     .func_proc = noise_time_proc},
    {.name = STR_FILTER_SHARPEN,
     .flags = FILTER_F_TEXT_IDS,
     .tracks = SHARPEN_TRACKS,
     .in_chain = true,
     .func_proc = sharpen_proc},
    {.name = STR_FILTER_BLUR,
     .flags = FILTER_F_TEXT_IDS,
     .tracks = BLUR_TRACKS,
     .in_chain = true,
     .func_proc = blur_proc},
    {.name = STR_FILTER_CLIP,
     .flags = FILTER_F_TEXT_IDS | FILTER_F_OWN_SIZE | FILTER_F_EXTRA_DATA,
     .tracks = CLIP_TRACKS,
     .pos_x = FILTER_SIZE_CLIENT | FILTER_SIZE_ADD,
     .pos_y = FILTER_SIZE_CLIENT | FILTER_SIZE_ADD | 24,  // the row of the size box
     .in_chain = true,
     .extra_defaults = CLIP_EXTRA,
     .func_proc = clip_resize_proc},
    {.name = STR_FILTER_BORDER,
     .flags = FILTER_F_TEXT_IDS,
     .tracks = BORDER_TRACKS,
     .checks = BORDER_CHECKS,
     .in_chain = true,
     .func_proc = border_proc},
    {.name = STR_FILTER_COLOR,
     .flags = FILTER_F_TEXT_IDS | FILTER_F_ORDER_LAST,
     .tracks = COLOR_TRACKS,
     .in_chain = true,
     .func_proc = color_correct_proc},
    {.name = STR_FILTER_COLOR_EXTENDED,
     .flags = FILTER_F_TEXT_IDS | FILTER_F_ORDER_LAST,
     .tracks = COLOR_EXTENDED_TRACKS,
     .checks = COLOR_EXTENDED_CHECKS,
     .in_chain = true,
     .func_proc = color_extended_proc,
     .func_update = color_extended_update},
    {.name = STR_FILTER_AUDIO_POSITION,
     .flags = FILTER_F_AUDIO | FILTER_F_TEXT_IDS | FILTER_F_OWN_SIZE,
     .tracks = AUDIO_POSITION_TRACKS,
     .pos_x = FILTER_SIZE_CLIENT | FILTER_SIZE_ADD,
     .pos_y = FILTER_SIZE_CLIENT | FILTER_SIZE_ADD | 0x12},
    {.name = STR_FILTER_VOLUME,
     .flags = FILTER_F_AUDIO | FILTER_F_TEXT_IDS,
     .tracks = VOLUME_TRACKS,
     .in_chain = true,
     .func_proc = audio_volume_proc},
    {.name = STR_FILTER_NORMALISE,
     .flags = FILTER_F_AUDIO | FILTER_F_TEXT_IDS | FILTER_F_ORDER_FIRST,
     .tracks = NORMALISE_TRACKS,
     .in_chain = true,
     .func_proc = audio_normalise_proc,
     .func_save_start = audio_normalise_save_start,
     .func_save_end = audio_normalise_save_end},
    {.name = STR_FILTER_SIZE,
     .flags = RADIO_FLAGS | FILTER_F_SUBMENU | FILTER_F_EXTRA_DATA,
     .checks = SIZE_CHECKS,
     .in_chain = true,
     .extra_defaults = SIZE_EXTRA,
     .func_proc = size_change_proc,
     .func_update = size_change_update},
    {.name = STR_FILTER_RATE_CHANGE,
     .flags = RADIO_FLAGS | FILTER_F_SUBMENU | FILTER_F_MENU_SEPARATOR,
     .checks = RATE_CHANGE_CHECKS},
    {.name = STR_FILTER_RATE_SETTING,
     .flags =
         FILTER_F_ALWAYS_ON | FILTER_F_MENU_CHECKS | FILTER_F_SHARED_MENU | FILTER_F_PLAIN_TITLE | FILTER_F_TEXT_IDS,
     .checks = RATE_SETTING_CHECKS},
    {.name = STR_FILTER_DEINTERLACE,
     .flags = RADIO_FLAGS | FILTER_F_SUBMENU | FILTER_F_MENU_SEPARATOR | FILTER_F_EXTRA_DATA,
     .extra_defaults = DEINTERLACE_EXTRA,
     .func_update = filter_deinterlace_update},
    {.name = STR_FILTER_FIELD_ORDER,
     .flags = RADIO_FLAGS | FILTER_F_MENU_SEPARATOR | FILTER_F_SHARED_MENU,
     .checks = FIELD_ORDER_CHECKS,
     .func_update = frame_analysis_update},
    {.name = STR_NONE, .flags = METHOD_FLAGS | FILTER_F_NO_WINDOW, .func_proc = deinterlace_none_proc},
    {.name = STR_INTER_ODD, .flags = METHOD_FLAGS, .checks = FIELD_CHECKS, .func_proc = deinterlace_odd_proc},
    {.name = STR_INTER_EVEN, .flags = METHOD_FLAGS, .checks = FIELD_CHECKS, .func_proc = deinterlace_even_proc},
    {.name = STR_INTER_DOUBLE, .flags = METHOD_FLAGS | FILTER_F_NO_WINDOW, .func_proc = deinterlace_double_proc},
    {.name = STR_INTER_AUTO_24FPS,
     .flags = METHOD_FLAGS,
     .tracks = AUTO_24FPS_TRACKS,
     .checks = AUTO_24FPS_CHECKS,
     .func_proc = deinterlace_24fps_proc,
     .func_update = frame_analysis_update},
    {.name = STR_INTER_AUTO, .flags = METHOD_FLAGS | FILTER_F_NO_WINDOW, .func_proc = deinterlace_auto_proc},
    {.name = STR_FILTER_COLOR_IN,
     .flags = RADIO_FLAGS | FILTER_F_SUBMENU | FILTER_F_MENU_SEPARATOR,
     .checks = COLOR_IN_CHECKS},
    {.name = STR_FILTER_COLOR_OUT, .flags = RADIO_FLAGS | FILTER_F_SHARED_MENU, .checks = COLOR_OUT_CHECKS},
};

// ---- records made from the table

static FILTER_RECORD records[FILTER_BUILT_IN_N];
static bool records_made;

// Labels hold numbers until a filter is started: FILTER_F_TEXT_IDS.
static const char* text_id(int id) { return reinterpret_cast<const char*>(uintptr_t(id)); }

static void make_tracks(FILTER_RECORD& record) {
    FILTER& filter = record.filter;
    filter.track_count = int32_t(record.row->tracks.size());
    for (size_t i = 0; i < record.row->tracks.size(); ++i) {
        const FILTER_TRACK_ROW& row = record.row->tracks[i];
        record.track_label[i] = text_id(row.label);
        record.track_default[i] = row.value;
        record.track_low[i] = row.low;
        record.track_high[i] = row.high;
    }
    filter.track_labels = record.track_label;
    filter.track_defaults = record.track_default;
    filter.track_lows = record.track_low;
    filter.track_highs = record.track_high;
}

static void make_checks(FILTER_RECORD& record) {
    record.filter.check_labels = record.check_label;
    record.filter.check_defaults = record.check_default;
    for (const FILTER_CHECK_ROW& row : record.row->checks)
        filter_check_append(&record.filter, text_id(row.label), row.value);
}

static void make_extra(FILTER_RECORD& record) {
    const auto& defaults = record.row->extra_defaults;
    if (defaults.empty()) return;
    record.filter.extra_data = record.extra;
    record.filter.extra_size = int32_t(defaults.size());
    record.filter.extra_defaults = defaults.data();
}

static void make_record(FILTER_RECORD& record, const FILTER_BUILT_IN& row) {
    record = {};
    record.row = &row;
    FILTER& filter = record.filter;
    filter.flags = row.flags;
    filter.pos_x = row.pos_x;
    filter.pos_y = row.pos_y;
    filter.name = text_id(row.name);
    make_tracks(record);
    make_checks(record);
    make_extra(record);
    filter.func_proc = row.func_proc;
    filter.func_init = row.func_init;
    filter.func_update = row.func_update;
    filter.func_WndProc = row.func_WndProc;
    filter.func_save_start = row.func_save_start;
    filter.func_save_end = row.func_save_end;
}

// The last entry stands for a typed size and must fit, so a very long list of sizes is cut.
static void append_sizes(FILTER* filter) {
    for (const SIZE_ITEM& item : size_list()) {
        if (filter->check_count < FILTER_CHECK_MAX - 1) filter_check_append(filter, item.label, 0);
    }
    filter_check_append(filter, text_id(STR_SIZE_GIVEN), 0);
}

FILTER_RECORD* filter_built_in_records() {
    if (records_made) return records;
    records_made = true;
    size_list_read();
    for (int i = 0; i < FILTER_BUILT_IN_N; ++i) make_record(records[i], FILTER_BUILT_IN_TABLE[i]);
    append_sizes(filter_built_in(STR_FILTER_SIZE));
    return records;
}

void filter_built_in_forget() { records_made = false; }

FILTER* filter_built_in(int name_id) {
    FILTER_RECORD* made = filter_built_in_records();
    for (int i = 0; i < FILTER_BUILT_IN_N; ++i) {
        if (FILTER_BUILT_IN_TABLE[i].name == name_id) return &made[i].filter;
    }
    return nullptr;
}

bool filter_check_append(FILTER* filter, const char* label, int default_value) {
    const int n = filter->check_count;
    if (n >= FILTER_CHECK_MAX) return false;
    FILTER_RECORD* record = filter_record(filter);
    record->check_label[n] = label;
    record->check_default[n] = default_value;
    filter->check_count = n + 1;
    return true;
}
