#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// What a decoder must know before the first picture of a stream: where a codec keeps it, and how a key frame can bring
/// it along. A file has one format block; frames of several makers in one stream go together only when each run of them
/// says anew by whose headers it is to be read. Pure functions over bytes that nobody has checked; nothing beyond them
/// is read.

enum CODEC_HEADERS_KIND {
    CODEC_HEADERS_NONE,   // every key frame says all that it needs, or nothing is known of the codec
    CODEC_HEADERS_BLOCK,  // the format block alone has them
    CODEC_HEADERS_MPEG4,  // format block or key frames: VOS, VO and VOL in front of the picture
    CODEC_HEADERS_H264,   // format block or key frames: SPS and PPS in front of the slices
};

struct CODEC_HEADERS_FORM {
    CODEC_HEADERS_KIND kind;
    size_t length_bytes;  // H.264: of the number ahead of each unit (1 .. 4), 0 = units stand behind start codes
    bool operator==(const CODEC_HEADERS_FORM&) const = default;
};

/// format: BITMAPINFOHEADER with its extra bytes; a block that starts with 1, as MP4 files have it, means numbers.
CODEC_HEADERS_FORM codec_headers_form(uint32_t handler, std::span<const uint8_t> format);

/// The handler whose compressor makes packets that fit among those of a handler: that handler itself, unless it is
/// another name of a codec that is compressed under one name.
uint32_t codec_headers_compressor(uint32_t handler);

/// Whether packets of two format blocks of one handler are read alike where only the block has the headers.
bool codec_headers_block_same(std::span<const uint8_t> a, std::span<const uint8_t> b);

/// The headers of a format block as they stand in a packet of this form; empty when it has none.
std::vector<uint8_t> codec_headers_of_format(CODEC_HEADERS_FORM form, std::span<const uint8_t> format);

/// The bytes of a packet in front of its picture when there are headers among them, else empty.
std::span<const uint8_t> codec_headers_of_packet(CODEC_HEADERS_FORM form, std::span<const uint8_t> packet);

/// H.264 units behind start codes, as compressors give them, in the form of a stream. False when a unit is too long for
/// its number.
bool codec_headers_reframe(CODEC_HEADERS_FORM form, std::span<const uint8_t> packet, std::vector<uint8_t>* out);
