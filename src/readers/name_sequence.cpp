#include "readers/name_sequence.h"

#include <cstdio>
#include <cstring>

#include "platform/file.h"
#include "platform/text.h"

static constexpr int DIGIT_MAX = 18;  // all numbers of so many digits fit in 64 bits

/// No second half of a double byte looks like a digit, so the run may be measured from its end.
static int digits_before(const char* text, int end) {
    int n = 0;
    while (n < DIGIT_MAX && n < end && text[end - n - 1] >= '0' && text[end - n - 1] <= '9') ++n;
    return n;
}

bool name_sequence_start(NAME_SEQUENCE* sequence, const char* path) {
    *sequence = {};
    if (!text_copy(sequence->text, PATH_SIZE, path)) return false;
    const char* extension = path_extension(sequence->text);
    text_copy(sequence->extension, PATH_SIZE, extension);
    const int end = int(extension - sequence->text);
    sequence->digit_count = digits_before(sequence->text, end);
    sequence->digits_at = end - sequence->digit_count;
    for (int i = sequence->digits_at; i < end; ++i)
        sequence->base_number = sequence->base_number * 10 + (sequence->text[i] - '0');
    sequence->next_number = sequence->base_number + 1;
    return true;
}

/// Writes a number in place of the digits. False when the path becomes too long.
static bool number_write(NAME_SEQUENCE* sequence, int64_t number) {
    char digits[24];
    const int n = snprintf(digits, sizeof digits, "%0*lld", sequence->digit_count, static_cast<long long>(number));
    const size_t at = size_t(sequence->digits_at), tail = strlen(sequence->extension);
    if (at + size_t(n) + tail >= PATH_SIZE) return false;
    std::memcpy(sequence->text + at, digits, size_t(n));
    std::memcpy(sequence->text + at + n, sequence->extension, tail + 1);
    return true;
}

bool name_sequence_next(NAME_SEQUENCE* sequence, char path[PATH_SIZE]) {
    const int64_t number = sequence->next_number++;
    path[0] = 0;
    if (sequence->digit_count > 0 && !number_write(sequence, number)) return false;
    text_copy(path, PATH_SIZE, sequence->text);
    return sequence->digit_count > 0 ? file_exists(path) : number == sequence->base_number;
}

void name_sequence_seek(NAME_SEQUENCE* sequence, int32_t n) { sequence->next_number = sequence->base_number + n; }
