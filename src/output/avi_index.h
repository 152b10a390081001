#pragma once

#include <cstdint>

#include "output/avi_file.h"

/// The indexes of a RIFF list, made from the chunk table. Inside the writer only. Functions that store give false once
/// bytes have been lost.

/// Stores `ix00` or `ix01` of the current list at the end of the file, and enters it into the stream's super index as
/// entry indx_n (counting it is the caller's). A stream without a chunk in this list gets neither.
bool avi_index_put_standard(AVI_WRITER* w, AVI_STREAM_KIND kind);

/// Stores `idx1` of the current list.
bool avi_index_put_old(AVI_WRITER* w);

/// Takes an entry of the current list out of the super index again, if it is there; an index left without entries is a
/// `JUNK` placeholder again.
bool avi_index_forget(AVI_WRITER* w, AVI_STREAM_KIND kind);

/// Bytes of avi_index_put_standard for a number of chunks, the header included.
inline uint64_t avi_index_standard_room(uint64_t chunks) {
    return chunks == 0 ? 0 : sizeof(AVI_STANDARD_INDEX) + (chunks + 1) * sizeof(AVI_STANDARD_ENTRY);
}
/// Bytes of avi_index_put_old for a number of chunks, the header included.
inline uint64_t avi_index_old_room(uint64_t chunks) {
    return sizeof(AVI_CHUNK_HEADER) + chunks * sizeof(AVI_OLD_INDEX_ENTRY);
}
