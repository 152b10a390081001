#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/edit_state.h"
#include "core/media.h"
#include "platform/memory.h"

/// The files that joining and mixing copy from. Inside these two tools only.

/// Load flags of a source.
inline constexpr uint32_t COPY_LOAD_STORED = LOAD_READ_ONLY | LOAD_STORED_AUDIO;
inline constexpr uint32_t COPY_LOAD_SOUND = COPY_LOAD_STORED | LOAD_NO_VIDEO;

struct COPY_SOURCE {
    const char* path;  // the caller's
    MEDIA_RECORD media;
    int file;      // for looking whether the file is still whole; -1 = cannot be looked at
    int64_t size;  // bytes when it was opened
    /// Of sound in packets of their own sizes: where each begins, in bytes, and its samples. Else empty.
    std::vector<int> packets;
    int packet_samples;
};

/// What frames and sound pass through, one at a time.
struct COPY_BUFFER {
    PAGE_PTR memory;
    size_t size;
    size_t sound_room;  // bytes of sound at a time, and so of a chunk
};

/// 1 on success; the source is closed after a failure.
bool copy_source_open(COPY_SOURCE* source, const char* path, uint32_t load_flags);
void copy_source_close(COPY_SOURCE* source);

/// Room for what a source should have; false when memory is short.
bool copy_buffer_start(COPY_BUFFER* buffer);

/// Bytes of a stored frame, 0 for a dropped one; key gets 16 or 0. The buffer grows with the frames that are really
/// there. COPY_LOST: the file is not what it was (cut, its disk failing or gone).
inline constexpr int COPY_LOST = -1;
int copy_source_frame(COPY_SOURCE* source, int frame, COPY_BUFFER* buffer, uint32_t* key);

/// Gives an output the sound format of a source. Packets of their own sizes stay chunks of their own (dwSampleSize 0):
/// only so can a player tell their time.
void copy_source_sound_format(const COPY_SOURCE& source, SAVE_CONTEXT* context);

/// Stored sound as blocks of the source.
struct COPY_SOUND {
    int next, end;
    bool by_packets;
};
/// The sound of `count` frames (negative: up to the end) from frame n on, at the frame rate of the output.
COPY_SOUND copy_source_sound(COPY_SOURCE* source, int n, int count, const SAVE_CONTEXT* context);
/// Reads on as far as sound_room allows, or by packets one. Bytes; 0 at the end and where nothing can be read;
/// COPY_LOST as above.
int copy_source_sound_read(COPY_SOURCE* source, COPY_SOUND* sound, COPY_BUFFER* buffer);
