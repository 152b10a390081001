#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "support/avi_builder.h"
#include "vantel_input.h"

/// What the tests of single readers share.

template <auto CLOSE, auto INFO>
struct READER_CLOSER {
    void operator()(void* handle) const { CLOSE(handle); }
};
/// A file that a reader has opened; empty when it refused.
template <auto CLOSE, auto INFO>
using READER_PTR = std::unique_ptr<void, READER_CLOSER<CLOSE, INFO>>;

/// The same reader; one that refused ends the test.
template <typename PTR>
PTR opened(PTR reader) {
    if (reader) return reader;
    ADD_FAILURE() << "not opened";
    throw 1;
}

template <auto CLOSE, auto INFO>
INPUT_MEDIA_INFO info_of(const READER_PTR<CLOSE, INFO>& reader) {
    INPUT_MEDIA_INFO info = {};
    INFO(reader.get(), &info);
    return info;
}

/// count samples from start on, whatever lies in the file: those of `sound` and nothing behind them.
template <auto READ, typename PTR>
void expect_samples(const PTR& reader, const BYTES& sound, size_t block, int start, int count) {
    const int samples = int(sound.size() / block), want = std::min(count, samples - start);
    BYTES got(size_t(want) * block + 1, 0xEE);
    ASSERT_EQ(READ(reader.get(), start, count, got.data()), want) << start << " " << count;
    ASSERT_EQ(std::memcmp(got.data(), sound.data() + size_t(start) * block, got.size() - 1), 0)
        << start << " " << count;
    ASSERT_EQ(got.back(), 0xEE);
}
