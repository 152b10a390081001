#pragma once

#include <cstdint>

#include "platform/path.h"

/// A file name that counts: the run of decimal digits before its extension, "cut009.bmp", "cut010.bmp", ... The names
/// that follow are tried one by one; their digits are as many as in the first name, or more when the number needs them.
/// Paths are code page 932. Any thread, one thread a sequence.
struct NAME_SEQUENCE {
    char text[PATH_SIZE];       // the path, rewritten at each step
    char extension[PATH_SIZE];  // the last dot and what follows, or ""
    int digits_at;              // where the digits begin in text
    int digit_count;            // 0 = none; at most 18: of a longer run the last 18 count, the rest stays as it is
    int64_t base_number;        // the number in the path given, 0 without digits
    int64_t next_number;        // what the next step tries
};

/// Begins behind the path itself. False when the path is longer than 259 bytes.
bool name_sequence_start(NAME_SEQUENCE* sequence, const char* path);
/// The next path. True when there is such a file; a name without digits is followed by none, and after
/// name_sequence_seek to 0 gives itself once. path is "" when it would be longer than 259 bytes.
bool name_sequence_next(NAME_SEQUENCE* sequence, char path[PATH_SIZE]);
/// Makes the n-th file, from 0 for the path given, the next one.
void name_sequence_seek(NAME_SEQUENCE* sequence, int32_t n);
