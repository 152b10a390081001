#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

struct BYTE_SOURCE;

/// PACKED_BLOCK: the run-length form of project files. A block has neither head nor end: it is a sequence of groups,
/// and its reader knows how many bytes it wants. A group is a first byte, for the long forms a count of three bytes
/// (low byte first), and its data:
///     0x01 .. 0x7F        that many literal bytes follow
///     0x81 .. 0xFF        one byte follows, repeated (first byte - 0x80) times
///     0x00, count         count literal bytes follow
///     0x80, count         one byte follows, repeated count times
/// A count is written as at most 0x7FFFFF. A block of no bytes has no groups. Pure functions, any thread.

inline constexpr size_t PACK_COUNT_MAX = 0x7FFFFF;

/// Appends the packed form. Four equal bytes or more become a run; what lies between runs is literal. Throws
/// std::bad_alloc like the vector itself.
void pack_write(std::vector<uint8_t>& out, std::span<const uint8_t> bytes);

/// Reads groups until `size` bytes are there. target null: they are only passed over. False when the source ends before
/// or a group would go beyond the size; what the target then holds is undefined, but nothing outside was written.
bool pack_read(BYTE_SOURCE* source, uint8_t* target, size_t size);
