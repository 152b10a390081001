#include "core/fps_list.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>

FPS_LIST fps_list;

static constexpr int64_t NUMBER_MAX = 0x7FFFFFFF;
static constexpr int DECIMAL_SCALE = 10000;

static const char* skip_blanks(const char* p) {
    while (*p == ' ' || *p == '\t') ++p;
    return p;
}

// Reads digits; null when there are none or the value passes 31 bits.
static const char* read_number(const char* p, int64_t* value) {
    if (!std::isdigit(static_cast<unsigned char>(*p))) return nullptr;
    for (*value = 0; std::isdigit(static_cast<unsigned char>(*p)); ++p) {
        *value = *value * 10 + (*p - '0');
        if (*value > NUMBER_MAX) return nullptr;
    }
    return p;
}

// At most four digits of a fraction count; the rest is passed over.
static const char* read_fraction(const char* p, int64_t* ten_thousandths) {
    *ten_thousandths = 0;
    for (int weight = DECIMAL_SCALE / 10; std::isdigit(static_cast<unsigned char>(*p)); ++p, weight /= 10)
        *ten_thousandths += int64_t{*p - '0'} * weight;
    return p;
}

static const char* read_rate(const char* p, FPS_ENTRY* entry) {
    int64_t rate, scale = DECIMAL_SCALE, fraction = 0;
    p = read_number(p, &rate);
    if (!p) return nullptr;
    if (*p == '/') {
        p = read_number(p + 1, &scale);
        if (!p) return nullptr;
    } else {
        if (*p == '.') p = read_fraction(p + 1, &fraction);
        rate = rate * DECIMAL_SCALE + fraction;
    }
    if (rate < 1 || scale < 1 || rate > NUMBER_MAX) return nullptr;
    entry->rate = int(rate);
    entry->scale = int(scale);
    return p;
}

static void make_label(FPS_ENTRY* entry) {
    if (entry->scale == 0) return;
    const int64_t part = int64_t{entry->rate} * DECIMAL_SCALE / entry->scale;
    char digits[8];
    std::snprintf(digits, sizeof digits, ".%04d", int(part % DECIMAL_SCALE));
    for (size_t n = std::strlen(digits); n > 0 && (digits[n - 1] == '0' || digits[n - 1] == '.'); --n)
        digits[n - 1] = 0;
    std::snprintf(entry->label, sizeof entry->label, "%d%sfps", int(part / DECIMAL_SCALE), digits);
}

static void insert_no_conversion(FPS_LIST* list) {
    std::memmove(list->entry + 1, list->entry, sizeof(FPS_ENTRY) * size_t(list->n));
    list->entry[0] = {};
    ++list->n;
    list->no_conversion = 0;
}

void fps_list_parse(FPS_LIST* list, const char* text) {
    *list = {};
    list->no_conversion = -1;
    for (const char* p = text; list->n < FPS_MAX - 1;) {
        FPS_ENTRY entry{};
        p = skip_blanks(p);
        if (*p == '*') {
            if (list->no_conversion < 0) list->no_conversion = list->n;
            ++p;
        } else {
            p = read_rate(p, &entry);
        }
        if (!p) break;
        p = skip_blanks(p);
        if (*p && *p != ',' && *p != ';') break;
        make_label(&entry);
        list->entry[list->n++] = entry;
        if (!*p++) break;
    }
    if (list->no_conversion < 0) insert_no_conversion(list);
}
