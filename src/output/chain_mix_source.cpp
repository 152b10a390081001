#include "output/chain_mix_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "pipeline/frame_cache.h"
#include "platform/file.h"
#include "platform/handle.h"
#include "readers/input_table.h"

static constexpr int PACKET_SAMPLES_MAX = 0x7FFF;
static constexpr size_t BUFFER_MIN = size_t{2} << 20;
static constexpr size_t BUFFER_MAX = (size_t{1} << 28) + 1;  // a chunk holds one byte less, so this much tells of more

// ---- packets of sound

static const INPUT_HANDLE* reader_of(const COPY_SOURCE& source) {
    return static_cast<const INPUT_HANDLE*>(handle_get(source.media.media_handle));
}

/// The samples of a packet: the first sample that is not in the first one. 0 when there is no second packet in reach.
static int packet_samples(const INPUT_HANDLE* reader) {
    int low = 0, high = 1;
    while (input_audio_position(reader, high) == 0) {
        if (high > PACKET_SAMPLES_MAX) return 0;
        low = high;
        high *= 2;
    }
    while (high - low > 1) {
        const int middle = (low + high) / 2;
        (input_audio_position(reader, middle) == 0 ? low : high) = middle;
    }
    return high;
}

static void find_packets(COPY_SOURCE* source) {
    const INPUT_HANDLE* reader = reader_of(*source);
    source->packet_samples = packet_samples(reader);
    if (source->packet_samples == 0) return;
    for (int64_t sample = 0; sample <= INT32_MAX; sample += source->packet_samples) {
        const int at = input_audio_position(reader, int(sample));
        if (uint32_t(at) >= source->media.audio_stream.dwLength) break;
        if (source->packets.empty() || at > source->packets.back()) source->packets.push_back(at);
    }
}

void copy_source_sound_format(const COPY_SOURCE& source, SAVE_CONTEXT* context) {
    context->audio_stream = source.media.audio_stream;
    std::memcpy(context->audio_format, source.media.audio_format, sizeof context->audio_format);
    context->audio_format_size = source.media.audio_format_size;
    if (source.packets.empty()) return;
    WAVEFORMATEX head;
    std::memcpy(&head, context->audio_format, sizeof head);
    head.nBlockAlign = uint16_t(source.packet_samples);
    std::memcpy(context->audio_format, &head, sizeof head);
    context->audio_stream.dwScale = uint32_t(source.packet_samples);
    context->audio_stream.dwRate = head.nSamplesPerSec;
    context->audio_stream.dwSampleSize = 0;
}

// ---- open and close

bool copy_source_open(COPY_SOURCE* source, const char* path, uint32_t load_flags) {
    source->path = path;
    source->file = -1;
    source->size = 0;
    source->packets.clear();
    source->packet_samples = 0;
    if (media_open(&source->media, path, load_flags) != 1) return false;
    source->file = file_open_read(path);
    source->size = source->file >= 0 ? file_size(source->file) : 0;
    constexpr uint32_t PACKETS = MEDIA_HAS_AUDIO | MEDIA_VARIABLE_AUDIO;
    if ((source->media.media_flag & PACKETS) == PACKETS) find_packets(source);
    return true;
}

void copy_source_close(COPY_SOURCE* source) {
    media_close(&source->media);
    if (source->file >= 0) file_close(source->file);
    source->file = -1;
}

/// Asked after each read that gave less than it should: readers hand out a failed read as a dropped frame or as the
/// end of the sound, and a copy must not take one for the other.
static bool source_lost(const COPY_SOURCE& source) {
    if (errno == EIO || errno == ESTALE || errno == ENODEV || errno == ENXIO) return true;
    if (source.file < 0) return false;
    uint8_t last;
    const int64_t size = file_size(source.file);
    return size < source.size || (size > 0 && !file_read_exact(source.file, &last, 1, size - 1));
}

// ---- frames

bool copy_buffer_start(COPY_BUFFER* buffer) {
    buffer->sound_room = std::clamp(display_buffer_size(), BUFFER_MIN, BUFFER_MAX - 1);
    buffer->size = buffer->sound_room;
    buffer->memory = page_alloc_bytes(buffer->size);
    return buffer->memory != nullptr;
}

static bool buffer_grow(COPY_BUFFER* buffer, size_t size) {
    size = std::min(size, BUFFER_MAX);
    PAGE_PTR memory = page_alloc_bytes(size);
    if (!memory) return false;
    buffer->memory = std::move(memory);
    buffer->size = size;
    return true;
}

/// Bytes of the picture that the format tells, and one more so that a picture is never taken for one that was cut.
static size_t picture_room(const BITMAPINFOHEADER& header) {
    const int height = header.biHeight < 0 && header.biHeight > INT32_MIN ? -header.biHeight : header.biHeight;
    return size_t(std::max(media_picture_size(std::max<int>(header.biBitCount, 24), header.biWidth, height), 0)) + 1;
}

int copy_source_frame(COPY_SOURCE* source, int frame, COPY_BUFFER* buffer, uint32_t* key) {
    // Readers of plug-ins cannot be told the room, so the picture must fit; pages are not there before they are used.
    const size_t picture = std::min(picture_room(source->media.video_header), BUFFER_MAX);
    if (buffer->size < picture && !buffer_grow(buffer, picture)) return COPY_LOST;
    for (;;) {
        int key_flag = 0;
        errno = 0;
        const int n = media_read_frame_raw(&source->media, frame, buffer->memory.get(), buffer->size, &key_flag);
        *key = uint32_t(key_flag);
        if (n <= 0) return source_lost(*source) ? COPY_LOST : 0;
        if (size_t(n) < buffer->size || buffer->size == BUFFER_MAX) return n;
        if (!buffer_grow(buffer, buffer->size * 2)) return COPY_LOST;
    }
}

// ---- sound

COPY_SOUND copy_source_sound(COPY_SOURCE* source, int n, int count, const SAVE_CONTEXT* context) {
    const int length = int(std::min<uint32_t>(source->media.audio_stream.dwLength, INT32_MAX));
    const int64_t behind = std::min<int64_t>(int64_t{n} + count, INT32_MAX);
    const int a = audio_sample_at(&source->media, n, context);
    const int b = count < 0 ? length : audio_sample_at(&source->media, int(behind), context);
    return {a, std::min(b, length), context->audio_stream.dwSampleSize == 0 && !source->packets.empty()};
}

static int packet_end(const COPY_SOURCE& source, const COPY_SOUND& sound) {
    const auto next = std::upper_bound(source.packets.begin(), source.packets.end(), sound.next);
    return next == source.packets.end() ? sound.end : std::min(*next, sound.end);
}

int copy_source_sound_read(COPY_SOURCE* source, COPY_SOUND* sound, COPY_BUFFER* buffer) {
    const int block = int(source->media.audio_stream.dwSampleSize);
    if (sound->next >= sound->end || block < 1) return 0;
    const int end = sound->by_packets ? packet_end(*source, *sound) : sound->end;
    const int wanted = std::min(end - sound->next, int(buffer->sound_room) / block);
    errno = 0;
    const int n = media_read_audio_range(&source->media, sound->next, sound->next + wanted, true, buffer->memory.get(),
                                         buffer->sound_room);
    sound->next += wanted;
    if (n < wanted * block && source_lost(*source)) return COPY_LOST;
    return n;
}
