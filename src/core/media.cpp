#include "core/media.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/edit_state.h"
#include "core/media_converter.h"
#include "core/memory.h"
#include "core/ui_breath.h"
#include "pipeline/frame_cache.h"
#include "pixels/frame_buffer.h"
#include "platform/handle.h"
#include "readers/codec.h"
#include "readers/input_table.h"
#include "readers/media_format.h"
#include "readers/open_progress.h"
#include "vantel_input.h"

static constexpr uint32_t FCC_YUY2 = VANTEL_FOURCC('Y', 'U', 'Y', '2');
static constexpr uint32_t FCC_YC48 = VANTEL_FOURCC('Y', 'C', '4', '8');
static constexpr int FIRST_KEY_SEARCH = 1000;  // frames
static constexpr int READ_SLACK = 16;          // bytes behind the picture that vector readers may touch

enum MEDIA_STEP { STEP_GOOD, STEP_NEXT_READER };

static INPUT_HANDLE* reader_of(const MEDIA_RECORD* record) {
    return static_cast<INPUT_HANDLE*>(handle_get(record->media_handle));
}

uint32_t media_code_normal(uint32_t code) {
    uint32_t upper = 0;
    for (int i = 0; i < 4; ++i) {
        uint32_t c = code >> (8 * i) & 0xFF;
        if (c >= 'a' && c <= 'z') c -= 'a' - 'A';
        upper |= c << (8 * i);
    }
    const bool dib = upper == VANTEL_FOURCC('D', 'I', 'B', ' ') || upper == VANTEL_FOURCC('D', 'I', 'B', 0);
    return dib ? 0 : upper;
}

bool media_is_pcm16(const WAVEFORMATEX* format) { return format->wFormatTag == 1 && format->wBitsPerSample == 16; }

int media_picture_size(int bits, int width, int height) {
    if (bits < 1 || width < 1 || height < 1) return -1;
    const int64_t row = ((int64_t{bits} * width + 7) / 8 + 3) / 4 * 4;
    return row <= (INT32_MAX - READ_SLACK) / height ? int(row * height) : -1;
}

static int header_picture_size(const BITMAPINFOHEADER& header) {
    return media_picture_size(header.biBitCount, header.biWidth, header.biHeight);
}

// Bytes of the palette ahead of the rows, which a picture of few bits is stored and expanded with.
static size_t header_palette_size(const BITMAPINFOHEADER& header) {
    return media_code_normal(header.biCompression) == 0 ? picture_palette_bytes(header.biBitCount) : 0;
}

// Rows of an RGB picture whose stored height is negative lie top-down in the file.
static bool stored_top_down(const MEDIA_RECORD* record) {
    BITMAPINFOHEADER stored;
    std::memcpy(&stored, record->video_format, sizeof stored);
    return stored.biHeight < 0 && media_code_normal(record->video_header.biCompression) == 0;
}

static void fill_video_stream(MEDIA_RECORD* record, const INPUT_MEDIA_INFO& info) {
    AVI_STREAM_INFO& stream = record->video_stream;
    stream.fccType = VANTEL_FOURCC('v', 'i', 'd', 's');
    stream.fccHandler = info.video_handler;
    stream.dwRate = uint32_t(info.rate);
    stream.dwScale = uint32_t(info.scale);
    stream.dwLength = uint32_t(std::max(info.frames, 0));
}

static MEDIA_STEP take_video(MEDIA_RECORD* record, const INPUT_MEDIA_INFO& info) {
    record->media_flag |= MEDIA_HAS_VIDEO;
    if (info.video_format_size > FORMAT_SIZE_MAX || info.video_format_size < int(sizeof(BITMAPINFOHEADER)))
        return STEP_NEXT_READER;
    std::memcpy(record->video_format, info.video_format, size_t(info.video_format_size));
    record->video_format_size = info.video_format_size;
    std::memcpy(&record->video_header, info.video_format, sizeof(BITMAPINFOHEADER));
    fill_video_stream(record, info);
    return STEP_GOOD;
}

static void take_self_decoded(MEDIA_RECORD* record) {
    record->media_flag |= MEDIA_SELF_DECODE;
    BITMAPINFOHEADER& header = record->video_header;
    const int32_t width = header.biWidth, height = header.biHeight;
    header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = uint32_t(std::max(media_picture_size(24, width, std::abs(height)), 0));
}

// Whether the bits are those of the code: the read buffer is made by the bits, and conversions read by the code.
static bool stored_bits_fit(const BITMAPINFOHEADER& header, uint32_t code) {
    if (code == 0) return picture_bits_are_rgb(header.biBitCount);
    return header.biBitCount == (code == FCC_YUY2 ? 16 : 48);
}

// A picture that cannot be read as it is stored, or would break one of the "only" flags.
static bool read_as_stored_refused(const BITMAPINFOHEADER& header, uint32_t code, uint32_t load_flags) {
    if (!stored_bits_fit(header, code)) return true;
    if (load_flags & LOAD_ONLY_YUY2) return code != FCC_YUY2;
    if (load_flags & LOAD_ONLY_RGB24) return code != 0 || header.biBitCount != 24;
    if (load_flags & LOAD_ONLY_RGB32) return code != 0 || header.biBitCount != 32;
    return false;
}

/// Stored bytes of a frame in decode_buffer; empty for a dropped frame and for one that cannot be read.
static std::span<const uint8_t> read_compressed(MEDIA_RECORD* record, int frame) {
    const BITMAPINFOHEADER& header = record->video_header;
    uint8_t* buffer = decode_buffer();
    if (!buffer) return {};
    const int size = input_read_video(reader_of(record), frame, buffer, decode_buffer_size(), header.biWidth,
                                      header.biHeight, header.biBitCount);
    return {buffer, size_t(std::max(size, 0))};
}

static bool open_decoder(MEDIA_RECORD* record, const INPUT_MEDIA_INFO& info, uint32_t load_flags) {
    int first = 0;  // a file that was cut may begin between two key frames
    while (first < std::min(info.frames - 1, FIRST_KEY_SEARCH) && !input_is_keyframe(reader_of(record), first)) ++first;
    const std::span<const uint8_t> format(record->video_format, size_t(record->video_format_size));
    if (!decompress_open(&record->decoder, format, info.video_handler, load_flags, read_compressed(record, first)))
        return false;
    record->media_flag |= MEDIA_DECODER_OPEN;
    record->video_header = record->decoder.input_format;
    return true;
}

static MEDIA_STEP prepare_decoding(MEDIA_RECORD* record, const INPUT_MEDIA_INFO& info, uint32_t load_flags) {
    if (info.flags & INPUT_MEDIA_ALL_KEY) record->media_flag |= MEDIA_ALL_KEY;
    const uint32_t code = media_code_normal(info.video_handler);
    if (info.flags & INPUT_MEDIA_SELF_DECODE) {
        take_self_decoded(record);
    } else if (code == 0 || code == FCC_YUY2 || (code == FCC_YC48 && frame_geometry.pixel_size == PIXEL_SIZE_YC48)) {
        if (read_as_stored_refused(record->video_header, code, load_flags)) return STEP_NEXT_READER;
        record->video_header.biCompression = code;
        record->media_flag |= MEDIA_ALL_KEY;
    } else if (!open_decoder(record, info, load_flags)) {
        return STEP_NEXT_READER;
    }
    BITMAPINFOHEADER& header = record->video_header;
    if (header.biHeight == INT32_MIN) return STEP_NEXT_READER;
    header.biHeight = std::abs(header.biHeight);
    return header_picture_size(header) > 0 ? STEP_GOOD : STEP_NEXT_READER;
}

static MEDIA_STEP take_audio(MEDIA_RECORD* record, const INPUT_MEDIA_INFO& info) {
    if (info.audio_format_size > FORMAT_SIZE_MAX || info.audio_format_size < 16) return STEP_NEXT_READER;
    record->media_flag |= MEDIA_HAS_AUDIO;
    std::memcpy(record->audio_format, info.audio_format, size_t(info.audio_format_size));
    record->audio_format_size = info.audio_format_size;
    std::memcpy(&record->audio_header, info.audio_format,
                std::min(sizeof(WAVEFORMATEX), size_t(info.audio_format_size)));
    AVI_STREAM_INFO& stream = record->audio_stream;
    stream.fccType = VANTEL_FOURCC('a', 'u', 'd', 's');
    stream.dwScale = stream.dwSampleSize = record->audio_header.nBlockAlign;
    stream.dwRate = media_stored_byte_rate(record);
    stream.dwLength = uint32_t(std::max(info.audio_samples, 0));
    if (info.flags & INPUT_MEDIA_VARIABLE_AUDIO) record->media_flag |= MEDIA_VARIABLE_AUDIO;
    // A rate or block of zero leaves nothing to count by. Variable blocks are found by the sample rate alone.
    const bool countable = stream.dwRate != 0 || (record->media_flag & MEDIA_VARIABLE_AUDIO);
    if (stream.dwScale == 0 || !countable || record->audio_header.nSamplesPerSec == 0)
        record->media_flag &= ~MEDIA_HAS_AUDIO;
    return STEP_GOOD;
}

// Made at the first read and not at open: until the edit layer has looked at the size, it is only a claim of the file.
static uint8_t* read_buffer_of(MEDIA_RECORD* record) {
    if (!record->read_buffer) {
        const BITMAPINFOHEADER& header = record->video_header;
        void* buffer = mem_alloc(header_palette_size(header) + size_t(header_picture_size(header)) + READ_SLACK);
        record->read_buffer = buffer ? handle_new(buffer) : 0;
    }
    return static_cast<uint8_t*>(handle_get(record->read_buffer));
}

static double stream_seconds(const AVI_STREAM_INFO& stream) {
    return stream.dwRate ? double(stream.dwLength) * stream.dwScale / stream.dwRate : 0;
}

static void adjust_rates(MEDIA_RECORD* record, uint32_t load_flags) {
    const bool both = (record->media_flag & MEDIA_HAS_VIDEO) && (record->media_flag & MEDIA_HAS_AUDIO);
    AVI_STREAM_INFO& video = record->video_stream;
    const double sound = stream_seconds(record->audio_stream);
    if ((load_flags & LOAD_FPS_ADJUST_AUTO) && both) {
        const double difference = sound - stream_seconds(video);
        if (difference > 0.1 || difference < -0.1) load_flags |= LOAD_FPS_ADJUST;
    }
    if (load_flags & LOAD_FPS_ADJUST) {
        record->media_flag |= MEDIA_FPS_ADJUSTED;
        const double rate = both && sound > 0 ? double(video.dwLength) / sound * 1000000 : 0;
        if (rate >= 1 && rate < 2147483648.0) {
            video.dwRate = uint32_t(rate);
            video.dwScale = 1000000;
        }
    }
    if (load_flags & LOAD_DOUBLE_RATE) {
        record->media_flag |= MEDIA_DOUBLE_RATE;
        if (record->media_flag & MEDIA_HAS_VIDEO) {
            video.dwRate = std::min(video.dwRate, 0x3FFFFFFFu) * 2;
            video.dwLength = std::min(video.dwLength, 0x3FFFFFFFu) * 2;
        }
    }
}

// One reader's try at the file. STEP_NEXT_READER leaves the handle open for the caller to close.
static MEDIA_STEP open_with_reader(MEDIA_RECORD* record, INPUT_HANDLE* reader, uint32_t load_flags) {
    INPUT_MEDIA_INFO info{};
    input_info(reader, &info);
    if (load_flags & LOAD_NO_VIDEO)
        info.flags &= ~uint32_t{INPUT_MEDIA_VIDEO};
    else if (!(info.flags & INPUT_MEDIA_VIDEO))
        return STEP_NEXT_READER;
    if (load_flags & LOAD_NO_AUDIO) info.flags &= ~uint32_t{INPUT_MEDIA_AUDIO};
    record->media_info = {info.flags,         info.rate, info.scale,
                          info.frames,        0,         info.video_format_size,
                          info.audio_samples, 0,         info.audio_format_size,
                          info.video_handler, {}};
    if (info.flags & INPUT_MEDIA_VIDEO) {
        if (take_video(record, info) != STEP_GOOD) return STEP_NEXT_READER;
        if (!(load_flags & LOAD_READ_ONLY) && prepare_decoding(record, info, load_flags) != STEP_GOOD)
            return STEP_NEXT_READER;
    }
    if (info.flags & INPUT_MEDIA_AUDIO) {
        if (take_audio(record, info) != STEP_GOOD) return STEP_NEXT_READER;
        if (!(load_flags & LOAD_STORED_AUDIO)) media_prepare_pcm(record);
    }
    record->last_frame = -1;
    return STEP_GOOD;
}

// Tries one reader after the other. False when there is none left.
static bool open_with_any(MEDIA_RECORD* record, const char* path, uint32_t load_flags) {
    int tried = -1;
    for (;;) {
        std::memset(record, 0, sizeof *record);
        const bool sequence = load_flags & LOAD_AVI_SEQUENCE;
        if (sequence) record->media_flag = MEDIA_AVI_SEQUENCE;
        INPUT_HANDLE* reader = input_open(path, tried, sequence ? "AVIs File Reader" : nullptr);
        if (!reader) return false;
        tried = input_index(reader);
        record->media_flag |= MEDIA_OPEN;
        record->media_handle = handle_new(reader);
        if (record->media_handle && open_with_reader(record, reader, load_flags) == STEP_GOOD) return true;
        if (!record->media_handle) input_close(reader);
        media_close(record);
    }
}

int media_open(MEDIA_RECORD* record, const char* path, uint32_t load_flags) {
    open_progress_begin();
    const bool good = open_with_any(record, path, load_flags);
    open_progress_end();
    if (!good) return -1;
    adjust_rates(record, load_flags);
    record->media_width = record->video_header.biWidth;
    record->media_height = std::abs(record->video_header.biHeight);
    record->media_frames = int32_t(record->video_stream.dwLength);
    return 1;
}

void media_close(MEDIA_RECORD* record) {
    media_converter_close(record);
    if (record->media_flag & MEDIA_DECODER_OPEN) decompress_close(&record->decoder);
    if (INPUT_HANDLE* reader = reader_of(record)) input_close(reader);
    handle_free(record->media_handle);
    record->media_handle = 0;
    mem_free(handle_get(record->read_buffer));
    handle_free(record->read_buffer);
    record->read_buffer = 0;
    record->media_flag = 0;
}

static int stored_frame(const MEDIA_RECORD* record, int frame) {
    const bool twice = record->media_flag & MEDIA_DOUBLE_RATE;
    const int n = int(record->video_stream.dwLength) / (twice ? 2 : 1);
    if (twice) frame /= 2;
    return std::max(0, std::min(frame, n - 1));
}

static void flip_rows(uint8_t* picture, const BITMAPINFOHEADER& header, int size) {
    const size_t row = size_t(size / header.biHeight);
    for (int top = 0, bottom = header.biHeight - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(picture + row * size_t(top), picture + row * size_t(top + 1), picture + row * size_t(bottom));
}

// Reads one picture as it is stored. A frame of 0 bytes is a dropped frame: the picture before it stays.
static void read_stored_picture(MEDIA_RECORD* record, uint8_t* picture, int frame) {
    const BITMAPINFOHEADER& header = record->video_header;
    const int size = header_picture_size(header);
    const size_t palette = header_palette_size(header);
    const int number = record->media_flag & MEDIA_SELF_DECODE ? frame | 0x40000000 : frame;
    const int got = input_read_video(reader_of(record), number, picture, palette + size_t(size), header.biWidth,
                                     header.biHeight, header.biBitCount);
    if (got > 0 && !(record->media_flag & MEDIA_SELF_DECODE) && stored_top_down(record))
        flip_rows(picture + palette, header, size);
}

// The frame to begin with, so that the wanted one decodes as it would in a run from the start.
static int decoding_start(MEDIA_RECORD* record, int frame) {
    if (record->media_flag & MEDIA_ALL_KEY) return frame;
    while (frame > 0 && frame != record->last_frame + 1 && !input_is_keyframe(reader_of(record), frame)) --frame;
    return frame;
}

// Decodes up to the wanted frame. A dropped or damaged frame shows the picture before it; frame 0 then is zero.
static void decode_picture(MEDIA_RECORD* record, uint8_t* picture, int frame) {
    const auto step = [&](int f, uint8_t* output) {
        const bool key = (record->media_flag & MEDIA_ALL_KEY) || input_is_keyframe(reader_of(record), f);
        const std::span<const uint8_t> bytes = read_compressed(record, f);
        return !bytes.empty() && decompress_frame(&record->decoder, output, bytes, key);
    };
    const int start = decoding_start(record, frame);
    for (int f = start; f < frame; ++f) {
        step(f, nullptr);
        ui_breathe();
    }
    if (step(frame, picture)) return;
    if (frame == 0)
        std::memset(picture, 0, size_t(header_picture_size(record->video_header)));
    else if (start < frame)
        decompress_again(&record->decoder, picture);
}

uint8_t* media_read_frame(MEDIA_RECORD* record, int frame) {
    if (!(record->media_flag & MEDIA_HAS_VIDEO)) return nullptr;
    uint8_t* picture = read_buffer_of(record);
    if (!picture) return nullptr;
    frame = stored_frame(record, frame);
    if (frame != record->last_frame) {
        if (record->media_flag & MEDIA_DECODER_OPEN)
            decode_picture(record, picture, frame);
        else
            read_stored_picture(record, picture, frame);
    }
    record->last_frame = frame;
    return picture;
}

int media_read_frame_raw(MEDIA_RECORD* record, int frame, void* buffer, size_t capacity, int* key) {
    *key = 0;
    if (!(record->media_flag & MEDIA_HAS_VIDEO)) return 0;
    frame = stored_frame(record, frame);
    const BITMAPINFOHEADER& header = record->video_header;
    *key = input_is_keyframe(reader_of(record), frame) ? 16 : 0;
    return input_read_video(reader_of(record), frame, buffer, capacity, header.biWidth, header.biHeight,
                            header.biBitCount);
}

bool media_is_key(MEDIA_RECORD* record, int frame) {
    return (record->media_flag & MEDIA_HAS_VIDEO) && input_is_keyframe(reader_of(record), stored_frame(record, frame));
}

int map_frame(const MEDIA_RECORD* a, int n, const MEDIA_RECORD* b) {
    const AVI_STREAM_INFO &to = a->video_stream, &from = b->video_stream;
    if (to.dwRate == from.dwRate && to.dwScale == from.dwScale) return n;
    const double below = double(to.dwScale) * from.dwRate;
    if (below == 0) return n;
    const double mapped = double(n) * to.dwRate * from.dwScale / below;
    const int cut = int(std::clamp(mapped, -2147483648.0, 2147483647.0));
    if (a->media_frames == 0) return cut;
    return std::max(0, std::min(cut, int(to.dwLength) - 1));
}
