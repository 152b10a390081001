#pragma once

#include <cstdint>

/// 32-bit ids for live pointers, so that records whose layout is a file format can refer to objects of this process. An
/// id is 1-65535 (place in the table) plus 65536 times the number of the place's use; a place retires after 65536 uses,
/// so an id of this process never comes to mean another object. Nothing owns the pointers. Main thread only.

/// A new id for p; 0 when p is null or 65535 pointers are in the table.
uint32_t handle_new(void* p);
/// The pointer of an id; null for 0, for an id that was freed and for one that never was. Constant time.
void* handle_get(uint32_t id);
/// Takes the id out of the table; 0 and stale ids are ignored.
void handle_free(uint32_t id);
