#pragma once

#include <cstddef>
#include <cstdint>

/// The body of the `INFO` list of an output for avi_open: title, comment and copyright as ISBJ, ICMT and ICOP, those
/// of them that are not empty. Texts are code page 932, of at most 255 bytes.
struct INFO_BLOCK {
    uint8_t bytes[4096];
    size_t size;  // 0: no text at all, and no list
};
INFO_BLOCK info_block_make(const char* title, const char* comment, const char* copyright);
