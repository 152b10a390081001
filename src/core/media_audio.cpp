#include <algorithm>
#include <cstring>
#include <vector>

#include "core/audio_conv.h"
#include "core/edit_state.h"
#include "core/media.h"
#include "core/media_converter.h"
#include "core/media_sound_reader.h"
#include "platform/handle.h"
#include "readers/input_table.h"

/// Where a source with a software converter goes on when the next piece of a range is asked.
struct PIECE_CURSOR {
    const MEDIA_RECORD* source;
    int n, count, skip;  // the call that may follow
    int next;            // stored block
};
static PIECE_CURSOR cursor;

static INPUT_HANDLE* reader_of(const MEDIA_RECORD* record) {
    return static_cast<INPUT_HANDLE*>(handle_get(record->media_handle));
}

static int held(double value, double low, double high) { return int(std::clamp(value, low, high)); }

int audio_sample_at(MEDIA_RECORD* source, int n, const MEDIA_RECORD* base) {
    const AVI_STREAM_INFO& video = base ? base->video_stream : source->video_stream;
    const AVI_STREAM_INFO& audio = source->audio_stream;
    if (source->media_flag & MEDIA_VARIABLE_AUDIO) {
        if (video.dwRate == 0) return 0;
        const double sample = double(video.dwScale) * media_stored_format(source).nSamplesPerSec * n / video.dwRate;
        return input_audio_position(reader_of(source), held(sample, 0, INT32_MAX));
    }
    // One division of whole products: a product of quotients would be off by one block at exact frame borders.
    const double below = double(audio.dwScale) * video.dwRate;
    if (below == 0) return 0;
    const double block = double(audio.dwRate) * video.dwScale * n / below;
    return held(block, 0, std::min<double>(audio.dwLength, INT32_MAX));
}

// ---- ranges

/// Stored blocks, or delivered samples of a source that is read by position.
struct SOUND_RANGE {
    int64_t a, b;
};

static int64_t delivered_at(const MEDIA_RECORD* source, int64_t n, const MEDIA_RECORD* base) {
    const AVI_STREAM_INFO& video = base ? base->video_stream : source->video_stream;
    if (video.dwRate == 0) return 0;
    const double sample = double(video.dwScale) * source->audio_header.nSamplesPerSec * double(n) / video.dwRate;
    return int64_t(std::clamp(sample, 0.0, 9e15));
}

static bool has_sound(const MEDIA_RECORD* source) { return source->media_flag & MEDIA_HAS_AUDIO; }

static int frame_behind(int n, int count) { return int(std::min<int64_t>(int64_t{n} + count, INT32_MAX)); }

static SOUND_RANGE stored_range(MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base) {
    if (!has_sound(source) || count == 0) return {0, 0};
    const int a = audio_sample_at(source, n, base);
    const int b = count < 0 ? int(std::min<uint32_t>(source->audio_stream.dwLength, INT32_MAX))
                            : audio_sample_at(source, frame_behind(n, count), base);
    return {a, std::max(a, b)};
}

static SOUND_RANGE delivered_range(MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base) {
    if (!has_sound(source) || count == 0) return {0, 0};
    const int64_t end = media_sound_end(source);
    const int64_t a = std::min(delivered_at(source, n, base), end);
    const int64_t b = count < 0 ? end : std::min(delivered_at(source, int64_t{n} + count, base), end);
    return {a, std::max(a, b)};
}

// ---- reading

int media_read_audio_range(MEDIA_RECORD* source, int a, int b, bool raw, void* buffer, size_t capacity) {
    const int block = media_stored_format(source).nBlockAlign;
    if (!has_sound(source) || block == 0 || b <= a) return 0;
    if (!raw && (source->media_flag & MEDIA_CONVERTER_OPEN)) return 0;
    const int room = int(std::min<size_t>(capacity / size_t(block), INT32_MAX / size_t(block)));
    return input_read_audio(reader_of(source), a, std::min(b - a, room), buffer) * block;
}

static bool samples_fit(const MEDIA_RECORD* source, int64_t samples, int64_t room) {
    SOFT_CONVERTER soft;
    SOFT_CARRY carry;
    audio_conv_soft_state(&source->converter, false, &soft, &carry);
    return soft_convert_count(&soft, &carry, samples) <= room;
}

/// The most stored samples, at most `most`, whose conversion fits `room` samples.
static int64_t samples_that_fit(const MEDIA_RECORD* source, int64_t most, int64_t room) {
    if (samples_fit(source, most, room)) return most;
    int64_t low = 0, high = most - 1;
    while (low < high) {
        const int64_t middle = low + (high - low + 1) / 2;
        if (samples_fit(source, middle, room))
            low = middle;
        else
            high = middle - 1;
    }
    return low;
}

// Stored blocks from cursor.next up to b through the software converter, as far as the result fits.
static int64_t stream_piece(MEDIA_RECORD* source, int64_t b, uint8_t* buffer, int64_t room) {
    static std::vector<uint8_t> stored;
    const int64_t stored_block = media_stored_format(source).nBlockAlign, block = source->audio_header.nBlockAlign;
    const int64_t block_most = int64_t(audio_conv_block_max(&source->converter)) / stored_block;
    int64_t given = 0;
    while (cursor.next < b) {
        const int64_t n = samples_that_fit(source, std::min(b - cursor.next, block_most), room - given);
        if (n <= 0) break;
        stored.resize(size_t(n * stored_block));
        const int got = input_read_audio(reader_of(source), cursor.next, int(n), stored.data());
        size_t bytes = 0;
        const uint8_t* out =
            got > 0 ? audio_conv_run(&source->converter, stored.data(), size_t(got * stored_block), &bytes) : nullptr;
        if (!out) {
            cursor.next = int(b);
            break;
        }
        std::memcpy(buffer + given * block, out, bytes);
        given += int64_t(bytes) / block;
        cursor.next += got;
    }
    return given;
}

static int64_t read_piece(MEDIA_RECORD* source, int n, int count, int skip, uint8_t* buffer, int64_t room,
                          const MEDIA_RECORD* base) {
    if (media_sound_by_position(source)) {
        const SOUND_RANGE range = delivered_range(source, n, count, base);
        return media_sound_read(source, range.a + skip, std::min(room, range.b - range.a - skip), buffer);
    }
    const SOUND_RANGE range = stored_range(source, n, count, base);
    if (!(source->media_flag & MEDIA_CONVERTER_OPEN)) {
        const int64_t a = std::min(range.a + skip, range.b), b = std::min(range.b, a + room);
        return media_read_audio_range(source, int(a), int(b), true, buffer, SIZE_MAX) /
               source->audio_header.nBlockAlign;
    }
    const bool follows = cursor.source == source && cursor.n == n && cursor.count == count && cursor.skip == skip;
    if (skip == 0)
        cursor = {source, n, count, 0, int(range.a)};
    else if (!follows)
        return 0;
    const int64_t given = stream_piece(source, range.b, buffer, room);
    cursor.skip += int(given);
    return given;
}

int media_read_audio_part(MEDIA_RECORD* source, int n, int count, int skip, void* buffer, size_t capacity,
                          const MEDIA_RECORD* base) {
    const size_t block = source->audio_header.nBlockAlign;
    if (!has_sound(source) || !buffer || count == 0 || skip < 0 || block == 0) return 0;
    const int64_t room = int64_t(std::min<size_t>(capacity, INT32_MAX) / block);
    return int(read_piece(source, n, count, skip, static_cast<uint8_t*>(buffer), room, base) * int64_t(block));
}

int media_read_audio(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity, const MEDIA_RECORD* base) {
    if (buffer) return media_read_audio_part(source, n, count, 0, buffer, capacity, base);
    if (has_sound(source)) media_converter_reset(source);
    return 0;
}

int media_read_audio_raw(MEDIA_RECORD* source, int n, int count, void* buffer, size_t capacity,
                         const MEDIA_RECORD* base) {
    if (!buffer) return 0;
    const SOUND_RANGE range = stored_range(source, n, count, base);
    return media_read_audio_range(source, int(range.a), int(range.b), true, buffer, capacity);
}

// ---- measuring

void media_measure_reset(AUDIO_MEASURE* measure) { *measure = {}; }

void media_measure_now(AUDIO_MEASURE* measure, const MEDIA_RECORD* source) {
    *measure = {};
    measure->running = audio_conv_is_soft(&source->converter);
    if (measure->running) audio_conv_soft_state(&source->converter, false, &measure->soft, &measure->carry);
}

int media_measure_audio_next(AUDIO_MEASURE* measure, MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base) {
    const bool converts = source->media_flag & MEDIA_CONVERTER_OPEN;
    const bool by_position = media_sound_by_position(source);
    const SOUND_RANGE range =
        by_position ? delivered_range(source, n, count, base) : stored_range(source, n, count, base);
    int64_t samples = range.b - range.a;
    if (converts && !by_position) {
        if (!measure->running) audio_conv_soft_state(&source->converter, true, &measure->soft, &measure->carry);
        measure->running = true;
        samples = soft_convert_count(&measure->soft, &measure->carry, samples);
    }
    return int(std::min<int64_t>(samples, INT32_MAX));
}

int media_measure_audio(MEDIA_RECORD* source, int n, int count, const MEDIA_RECORD* base) {
    AUDIO_MEASURE measure;
    media_measure_now(&measure, source);
    return media_measure_audio_next(&measure, source, n, count, base);
}
