#pragma once

#include <cstddef>
#include <cstdint>

#include "output/avi_file.h"

/// RIFF lists of an AVI file and the chunks inside them. Inside the writer only. False: bytes were lost, or the writer
/// refuses (told apart by AVI_WRITER::failed).

/// From the alignment chunk up to the open `movi` list, at the end of the file. text: first bytes of the alignment
/// chunk, without a terminating zero; may be "".
bool avi_list_begin_data(AVI_WRITER* w, const char* text);

/// Writes the indexes, closes the lists, counts the frames and samples. A further list without a chunk is left alone.
bool avi_list_finish(AVI_WRITER* w);

/// Writes a data chunk, after beginning a new RIFF list where the current one is large enough. Refused: sizes above
/// AVI_WORD_SIZE, a full chunk table, and the list that no super index could take.
bool avi_list_put_chunk(AVI_WRITER* w, AVI_STREAM_KIND kind, const void* data, size_t size, bool key);

/// Frames or samples in a chunk. Sound without a sample size has one sample a chunk.
uint64_t avi_list_units(const AVI_WRITER* w, AVI_STREAM_KIND kind, uint64_t size);

/// Bytes of the `INFO` list, 0 without one.
uint64_t avi_list_info_room(const AVI_WRITER* w);
