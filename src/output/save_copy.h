#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct EDIT_STATE;
struct SAVE;

/// Whether stored frames may be copied as they stand.
enum : int {
    SAVE_COPY_GOOD = 1,
    SAVE_COPY_FORMAT_DIFFERS = -1,
    SAVE_COPY_SIZE_DIFFERS = -2,
    SAVE_COPY_NO_KEY_FRAME = -3,  // the run of source frames does not reach back to a key frame
    SAVE_COPY_DOUBLE_RATE = -4,
};

/// The frame that was looked at last, so that a walk through the frames of a long run does not go back to its key frame
/// each time.
struct SAVE_COPY_RUN {
    int frame = -1;  // none
    bool good = false;
};

/// A frame can be copied when its source has the format and size of the edit's first one, is not read at double rate,
/// and the frame is a key frame or follows one, frame by frame, not below `first`. The format is more than the handler
/// where packets are read by the format block alone (codec_headers.h). run: kept by the caller over the frames of one
/// walk; a new one for each `first`.
int save_copy_check(EDIT_STATE* edit, int frame, int first, SAVE_COPY_RUN* run);

/// By whose codec headers a decoder reads at this place of the file.
struct SAVE_COPY_HEADERS {
    static constexpr int FORMAT_BLOCK = -1, COMPRESSOR = -2;
    int source = FORMAT_BLOCK;     // a slot, or one of these
    bool known = false;            // `bytes` are those headers
    std::vector<uint8_t> bytes;    // as in a packet
    std::vector<uint8_t> reframe;  // the last packet of the compressor, in the form of the stream
};

/// Makes a copying save ready, once the compressor of the frames that are not copied is chosen. Where those frames
/// cannot stand among copied ones, because the format block alone has the headers and theirs are others, all frames
/// go through the compressor (SAVE::copy_none).
void save_copy_plan(SAVE* save);

/// The bytes that a stored key frame of a source slot needs in front of it: that source's codec headers, when a decoder
/// was told others before and the packet has none. Valid until the next call. At most FORMAT_SIZE_MAX bytes.
std::span<const uint8_t> save_copy_headers(SAVE* save, int source, std::span<const uint8_t> packet);

/// Writes a frame through the compressor among copied ones, in the form that their packets have. A result of the
/// writer.
int save_copy_put_compressed(SAVE* save, const uint8_t* pixels);
