#include "platform/handle.h"

#include <vector>

namespace {

constexpr uint32_t PLACE_LIMIT = 65535;

struct PLACE {
    void* pointer = nullptr;
    uint32_t use = 0;
};

struct HANDLE_TABLE {
    std::vector<PLACE> places;  // place n of an id is places[n - 1]
    std::vector<uint32_t> vacant;
};

HANDLE_TABLE& handle_table() {
    static HANDLE_TABLE table;
    return table;
}

PLACE* place_of(uint32_t id) {
    HANDLE_TABLE& table = handle_table();
    const uint32_t n = id & 0xFFFF;
    if (n == 0 || n > table.places.size()) return nullptr;
    PLACE& place = table.places[n - 1];
    return place.pointer != nullptr && place.use == id >> 16 ? &place : nullptr;
}

}  // namespace

uint32_t handle_new(void* p) {
    HANDLE_TABLE& table = handle_table();
    if (p == nullptr) return 0;
    if (table.vacant.empty()) {
        if (table.places.size() >= PLACE_LIMIT) return 0;
        table.places.emplace_back();
        table.vacant.push_back(uint32_t(table.places.size()));
    }
    const uint32_t n = table.vacant.back();
    table.vacant.pop_back();
    table.places[n - 1].pointer = p;
    return table.places[n - 1].use << 16 | n;
}

void* handle_get(uint32_t id) {
    const PLACE* place = place_of(id);
    return place != nullptr ? place->pointer : nullptr;
}

void handle_free(uint32_t id) {
    PLACE* place = place_of(id);
    if (place == nullptr) return;
    place->pointer = nullptr;
    if (++place->use <= 0xFFFF) handle_table().vacant.push_back(id & 0xFFFF);
}
