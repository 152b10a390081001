#pragma once

#include <cstdint>

#include "readers/chunk_index.h"
#include "readers/riff.h"

/// The parts of the AVI reader among themselves.

enum : uint32_t {
    AVI_R_VIDEO = 1,
    AVI_R_AUDIO = 2,
    AVI_R_ODML = 4,
    AVI_R_VBR = 8,  // a chunk of sound is one block of variable size; everything counts in bytes
};

inline constexpr uint32_t AVI_FORMAT_MAX = 8192;
inline constexpr int AVI_SUPER_MAX = 1024;  // super index entries of a file, all streams together

/// One open file.
struct AVI_READER_STATE {
    uint32_t flags;  // AVI_R_...
    int file;
    uint32_t video_scale, video_rate;  // 1 .. 2^31 - 1 with AVI_R_VIDEO
    uint32_t audio_block;              // bytes, above 0 with AVI_R_AUDIO
    int video_stream, audio_stream;    // place among the lists "strl"
    CHUNK_TABLE video_index, audio_index;
    alignas(8) uint8_t video_format[AVI_FORMAT_MAX];
    alignas(8) uint8_t audio_format[AVI_FORMAT_MAX];
    uint32_t video_format_size, audio_format_size;
    uint32_t video_handler;
    uint32_t vbr_rate, vbr_scale;
};

/// File positions of the standard indexes that the stream headers name, in their order. Used only while opening.
struct AVI_SUPER_TABLE {
    uint64_t position[AVI_SUPER_MAX];
    int n;
};

/// Reads the streams of the header list into the state, and the super indexes of an OpenDML file. A stream that cannot
/// be used stays out; of several of one kind the last stands. False when the file is to be refused.
bool avi_streams_read(RIFF_FILE* riff, AVI_READER_STATE* state, AVI_SUPER_TABLE* super, const RIFF_CHUNK* header_list);

/// Beside the two characters of a chunk's code: a stream that is not there, and a chunk that is of no stream.
inline constexpr uint32_t AVI_NO_DIGITS = 0x10000, AVI_OTHER_DIGITS = 0x10001;
/// Entries and chunk headers of all kinds that one walk looks at: far more than an edit can hold, and soon done.
inline constexpr uint64_t AVI_SEEN_MAX = 2 * CHUNK_N_MAX;

/// Takes the chunks of an index, first to count them, then, with the tables sized, to store them.
struct AVI_SINK {
    uint32_t video_digits, audio_digits;  // the first two characters of a chunk's code, or AVI_NO_DIGITS
    uint64_t video_n, audio_n;            // chunks of the two streams
    uint64_t seen;                        // of any stream
    CHUNK_TABLE* video;                   // null while counting
    CHUNK_TABLE* audio;
};
/// Takes a chunk if its digits are those of a stream. size: bits 0-30; bit 31 is CHUNK_NOT_KEY, which sound drops.
/// False when the walk has seen enough.
bool avi_sink_take(AVI_SINK* sink, uint32_t digits, uint64_t position, uint32_t size);

/// A list of data, "movi", in its RIFF list.
struct AVI_DATA_LIST {
    RIFF_CHUNK movi;
    int64_t end;   // where its chunks end; the file may be shorter
    int64_t next;  // where the next RIFF list would begin
    bool open;     // its writer never came to fill in the sizes: it goes up to the end of the file
};
/// The list of data in a RIFF list (a chunk that riff_find gave for the root, or its like). False when there is none.
bool avi_data_list_find(RIFF_FILE* riff, AVI_DATA_LIST* list, const RIFF_CHUNK& root);

/// The three kinds of index. Each hands all chunks of its kind to the sink, in order, up to the first byte that the
/// file does not hold.
void avi_index_odml(RIFF_FILE* riff, AVI_SINK* sink, const AVI_SUPER_TABLE& super);
void avi_index_idx1(RIFF_FILE* riff, AVI_SINK* sink, const RIFF_CHUNK& movi, const RIFF_CHUNK& idx1);
/// The chunks themselves. Of an open list those that the file holds whole.
void avi_index_movi(RIFF_FILE* riff, AVI_SINK* sink, const AVI_DATA_LIST& list);
/// The same for the lists "AVIX" from a file position on.
void avi_index_further(RIFF_FILE* riff, AVI_SINK* sink, int64_t position);

/// Builds the tables of the state by the index that the file has. A stream without a chunk loses its flag.
void avi_index_build(RIFF_FILE* riff, AVI_READER_STATE* state, const AVI_SUPER_TABLE& super, const RIFF_CHUNK& root);
