#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_formats.h"

/// Records of AVI (RIFF and OpenDML) and WAV files as they lie on the disk. Little-endian, no padding. A size field
/// counts the bytes behind itself; a chunk of odd size is followed by one zero byte that no size field counts.

#pragma pack(push, 1)

struct AVI_CHUNK_HEADER {
    uint32_t code;
    uint32_t size;
};
static_assert(sizeof(AVI_CHUNK_HEADER) == 8);

/// `avih`.
struct AVI_MAIN_HEADER {
    uint32_t dwMicroSecPerFrame;
    uint32_t dwMaxBytesPerSec;
    uint32_t dwPaddingGranularity;
    uint32_t dwFlags;  // AVIF_...
    uint32_t dwTotalFrames;
    uint32_t dwInitialFrames;
    uint32_t dwStreams;
    uint32_t dwSuggestedBufferSize;
    uint32_t dwWidth;
    uint32_t dwHeight;
    uint32_t dwReserved[4];
};
static_assert(sizeof(AVI_MAIN_HEADER) == 56 && offsetof(AVI_MAIN_HEADER, dwTotalFrames) == 16);

/// `strh`.
struct AVI_STREAM_HEADER {
    uint32_t fccType;
    uint32_t fccHandler;
    uint32_t dwFlags;
    uint16_t wPriority;
    uint16_t wLanguage;
    uint32_t dwInitialFrames;
    uint32_t dwScale;
    uint32_t dwRate;
    uint32_t dwStart;
    uint32_t dwLength;  // frames or samples
    uint32_t dwSuggestedBufferSize;
    uint32_t dwQuality;
    uint32_t dwSampleSize;  // bytes of a sample, 0 = each chunk is one
    int16_t left, top, right, bottom;
};
static_assert(sizeof(AVI_STREAM_HEADER) == 56 && offsetof(AVI_STREAM_HEADER, dwLength) == 32 &&
              offsetof(AVI_STREAM_HEADER, left) == 48);

/// Entry of `idx1`.
struct AVI_OLD_INDEX_ENTRY {
    uint32_t dwChunkId;
    uint32_t dwFlags;   // AVIIF_KEYFRAME
    uint32_t dwOffset;  // of the chunk's header from the `movi` code
    uint32_t dwSize;
};
static_assert(sizeof(AVI_OLD_INDEX_ENTRY) == 16);

/// `ix00`, `ix01`, header included. AVI_STANDARD_ENTRY records follow.
struct AVI_STANDARD_INDEX {
    AVI_CHUNK_HEADER header;
    uint16_t wLongsPerEntry;  // 2
    uint8_t bIndexSubType;    // 0
    uint8_t bIndexType;       // AVI_INDEX_OF_CHUNKS
    uint32_t nEntriesInUse;
    uint32_t dwChunkId;
    uint64_t qwBaseOffset;  // file position that entries count from
    uint32_t dwReserved;
};
static_assert(sizeof(AVI_STANDARD_INDEX) == 32 && offsetof(AVI_STANDARD_INDEX, qwBaseOffset) == 20);

struct AVI_STANDARD_ENTRY {
    uint32_t dwOffset;  // of the chunk's data, behind its header
    uint32_t dwSize;    // bit 31: not a key frame
};
static_assert(sizeof(AVI_STANDARD_ENTRY) == 8);

/// `indx`, header included. AVI_SUPER_ENTRY records follow.
struct AVI_SUPER_INDEX {
    AVI_CHUNK_HEADER header;
    uint16_t wLongsPerEntry;  // 4
    uint8_t bIndexSubType;    // 0
    uint8_t bIndexType;       // AVI_INDEX_OF_INDEXES
    uint32_t nEntriesInUse;
    uint32_t dwChunkId;
    uint32_t dwReserved[3];
};
static_assert(sizeof(AVI_SUPER_INDEX) == 32);

struct AVI_SUPER_ENTRY {
    uint64_t qwOffset;    // file position of the header of a standard index
    uint32_t dwSize;      // of that index with its header, without its closing entry
    uint32_t dwDuration;  // frames or samples
};
static_assert(sizeof(AVI_SUPER_ENTRY) == 16);

#pragma pack(pop)

inline constexpr uint32_t AVIF_HASINDEX = 0x10;
inline constexpr uint32_t AVIF_TRUSTCKTYPE = 0x800;
inline constexpr uint32_t AVIIF_KEYFRAME = 0x10;
inline constexpr uint8_t AVI_INDEX_OF_INDEXES = 0;
inline constexpr uint8_t AVI_INDEX_OF_CHUNKS = 1;

inline constexpr uint32_t AVI_SUPER_ROOM = 2040;  // body of the placeholder of a super index
inline constexpr uint32_t AVI_SUPER_ENTRY_MAX = (AVI_SUPER_ROOM - 24) / sizeof(AVI_SUPER_ENTRY);
static_assert(AVI_SUPER_ENTRY_MAX == 126);
inline constexpr uint32_t AVI_ODML_ROOM = 260;  // body of the placeholder of the `odml` list
inline constexpr uint32_t AVI_DMLH_SIZE = 248;
inline constexpr uint32_t AVI_DATA_ALIGN = 2048;  // the first chunk of each `movi` list lies at a multiple

inline constexpr uint32_t FCC_RIFF = VANTEL_FOURCC('R', 'I', 'F', 'F');
inline constexpr uint32_t FCC_LIST = VANTEL_FOURCC('L', 'I', 'S', 'T');
inline constexpr uint32_t FCC_JUNK = VANTEL_FOURCC('J', 'U', 'N', 'K');
inline constexpr uint32_t FCC_AVI = VANTEL_FOURCC('A', 'V', 'I', ' ');
inline constexpr uint32_t FCC_AVIX = VANTEL_FOURCC('A', 'V', 'I', 'X');
inline constexpr uint32_t FCC_HDRL = VANTEL_FOURCC('h', 'd', 'r', 'l');
inline constexpr uint32_t FCC_AVIH = VANTEL_FOURCC('a', 'v', 'i', 'h');
inline constexpr uint32_t FCC_STRL = VANTEL_FOURCC('s', 't', 'r', 'l');
inline constexpr uint32_t FCC_STRH = VANTEL_FOURCC('s', 't', 'r', 'h');
inline constexpr uint32_t FCC_STRF = VANTEL_FOURCC('s', 't', 'r', 'f');
inline constexpr uint32_t FCC_INDX = VANTEL_FOURCC('i', 'n', 'd', 'x');
inline constexpr uint32_t FCC_ODML = VANTEL_FOURCC('o', 'd', 'm', 'l');
inline constexpr uint32_t FCC_DMLH = VANTEL_FOURCC('d', 'm', 'l', 'h');
inline constexpr uint32_t FCC_MOVI = VANTEL_FOURCC('m', 'o', 'v', 'i');
inline constexpr uint32_t FCC_IDX1 = VANTEL_FOURCC('i', 'd', 'x', '1');
inline constexpr uint32_t FCC_00DB = VANTEL_FOURCC('0', '0', 'd', 'b');
inline constexpr uint32_t FCC_00DC = VANTEL_FOURCC('0', '0', 'd', 'c');
inline constexpr uint32_t FCC_01WB = VANTEL_FOURCC('0', '1', 'w', 'b');
inline constexpr uint32_t FCC_IX00 = VANTEL_FOURCC('i', 'x', '0', '0');
inline constexpr uint32_t FCC_IX01 = VANTEL_FOURCC('i', 'x', '0', '1');
inline constexpr uint32_t FCC_VIDS = VANTEL_FOURCC('v', 'i', 'd', 's');
inline constexpr uint32_t FCC_AUDS = VANTEL_FOURCC('a', 'u', 'd', 's');
inline constexpr uint32_t FCC_WAVE = VANTEL_FOURCC('W', 'A', 'V', 'E');
inline constexpr uint32_t FCC_FMT = VANTEL_FOURCC('f', 'm', 't', ' ');
inline constexpr uint32_t FCC_DATA = VANTEL_FOURCC('d', 'a', 't', 'a');
