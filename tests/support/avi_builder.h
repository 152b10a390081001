#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vantel_formats.h"

/// Makes AVI and WAV files for tests, byte by byte and independent of the program's own writer.

using BYTES = std::vector<uint8_t>;

enum AVI_BUILD_INDEX {
    AVI_BUILD_IDX1_RELATIVE,  // offsets count from the code "movi"
    AVI_BUILD_IDX1_ABSOLUTE,  // offsets count from the start of the file
    AVI_BUILD_NO_INDEX,
    AVI_BUILD_ODML,  // standard indexes, and no idx1
};

struct AVI_BUILD_STREAM {
    const char* type = "vids";
    uint32_t handler = 0;
    uint32_t scale = 1, rate = 25;
    uint32_t length = 0;
    uint32_t sample_size = 0;
    BYTES format;
};

struct AVI_BUILD_CHUNK {
    int stream;
    const char* kind;  // "db", "dc", "wb"
    BYTES data;
    bool key = true;
    uint32_t gap_before = 0;  // bytes of a JUNK chunk ahead of it, left as a hole
};

struct AVI_BUILD {
    std::vector<AVI_BUILD_STREAM> streams;
    std::vector<AVI_BUILD_CHUNK> chunks;
    AVI_BUILD_INDEX index = AVI_BUILD_IDX1_RELATIVE;
    size_t chunks_per_list = SIZE_MAX;  // of each RIFF list of an OpenDML file
    int super_repeat = 1;               // how often each entry of a super index stands there
};

/// A file as pieces, with holes of zeros between them.
struct AVI_IMAGE {
    struct PIECE {
        uint64_t at;
        BYTES bytes;
    };
    std::vector<PIECE> pieces;
    uint64_t size = 0;
};

AVI_IMAGE avi_build_image(const AVI_BUILD& build);
/// The same in one block; for files without large gaps.
BYTES avi_build(const AVI_BUILD& build);

/// 40 bytes; biSizeImage is that of an uncompressed picture.
BYTES avi_picture_format(int32_t width, int32_t height, uint16_t bits, uint32_t compression);
/// 18 bytes, nBlockAlign = channels * bits / 8.
BYTES avi_sound_format(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits);
AVI_BUILD_STREAM avi_video_stream(int32_t width, int32_t height, uint16_t bits, uint32_t compression);
AVI_BUILD_STREAM avi_sound_stream(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits);
BYTES wave_build(const BYTES& format, const BYTES& samples);

/// Little-endian patches. at: offset in the block.
void bytes_put_u16(BYTES& bytes, size_t at, uint16_t value);
void bytes_put_u32(BYTES& bytes, size_t at, uint32_t value);
/// Offset of the n-th place of four characters, from 0; the test fails when there is none.
size_t bytes_find(const BYTES& bytes, const char* code, int n = 0);
/// n bytes that follow from the seed.
BYTES bytes_pattern(size_t n, uint32_t seed);

/// A file in the folder for temporary files, deleted with this record.
struct TEMP_FILE {
    std::string path;
    TEMP_FILE(const BYTES& bytes, const char* extension);
    TEMP_FILE(const AVI_IMAGE& image, const char* extension);
    TEMP_FILE(const TEMP_FILE&) = delete;
    TEMP_FILE& operator=(const TEMP_FILE&) = delete;
    ~TEMP_FILE();
    const char* name() const { return path.c_str(); }
};
