#pragma once

#include <cstddef>
#include <cstdint>

#include "output/avi_format.h"
#include "output/avi_ring.h"
#include "platform/memory.h"

/// The state of the writer, and the file as a sequence of bytes and chunks. Inside the writer only; its interface is
/// avi_writer.h. One thread. All functions that store return false once bytes have been lost; from then on nothing is
/// stored until avi_recover has put the file in order.

enum AVI_STREAM_KIND : int { AVI_VIDEO = 0, AVI_AUDIO = 1 };
inline constexpr AVI_STREAM_KIND AVI_STREAM_KINDS[] = {AVI_VIDEO, AVI_AUDIO};

/// A chunk or list whose size is not known yet.
struct AVI_OPEN_CHUNK {
    uint32_t code;
    uint64_t start;  // of its header, as AVI_WRITER::pos
};

struct AVI_WRITER_STREAM {
    bool used;
    uint64_t strh_pos;  // file position of the header image, which closing writes again
    uint64_t indx_pos;  // file position of the placeholder of the super index
    uint32_t indx_n;    // entries there, of finished RIFF lists
    uint32_t max_chunk;
    uint32_t part_chunks;  // in the current RIFF list
    uint64_t part_units;   // frames or samples in the current RIFF list; bytes in `data` of a WAV file
    uint64_t total_units;  // of the finished ones
    AVI_STREAM_HEADER strh;
};

/// A word of the chunk table: the size and two flags.
inline constexpr uint32_t AVI_WORD_SIZE = 0x0FFFFFFF;
inline constexpr uint32_t AVI_WORD_AUDIO = 0x40000000;
inline constexpr uint32_t AVI_WORD_NO_KEY = 0x80000000;

inline constexpr size_t AVI_INFO_MAX = 4096;

struct AVI_WRITER {
    int file = -1;
    bool failed;                // bytes were lost since the file was last in order
    bool lost;                  // something was refused or lost in this file
    bool no_tail;               // there is no room for idx1 and INFO
    uint64_t base;              // file position of the current RIFF list
    uint64_t pos;               // of the next byte, from base
    uint64_t stored;            // without a ring: file position up to which all bytes are in the file
    AVI_RING* ring;             // null: the file is written directly
    uint32_t riff_part;         // 0 is `RIFF AVI `, then `RIFF AVIX`
    AVI_OPEN_CHUNK riff, list;  // list: `movi`, or `data` of a WAV file
    uint64_t movi_data;         // pos of the first chunk inside the current `movi` list, or of the bytes of `data`
    PAGE_PTR chunk_table;       // a word for each chunk of the current RIFF list, in file order
    uint32_t chunk_count, chunk_capacity;
    uint64_t odml_pos;  // file position of the placeholder of `odml`; 0: not an OpenDML file
    uint64_t avih_pos;
    AVI_MAIN_HEADER avih;
    AVI_WRITER_STREAM stream[2];
    uint8_t info[AVI_INFO_MAX];
    size_t info_size;
};

/// What the next opened file takes.
struct AVI_WRITER_SETTINGS {
    uint32_t unit_kib;     // bytes of a write to the disk / 1024; 0: no disk thread
    uint32_t frame_limit;  // the chunk table holds twice as many words
    uint32_t part_limit;   // a RIFF list that has reached this many bytes is finished
};
extern AVI_WRITER_SETTINGS avi_writer_settings;
extern AVI_WRITER avi_writer;

inline uint32_t* avi_table(AVI_WRITER* w) { return reinterpret_cast<uint32_t*>(w->chunk_table.get()); }
/// Bytes that a chunk of this size takes in the file.
inline uint64_t avi_chunk_span(uint64_t size) { return (size + sizeof(AVI_CHUNK_HEADER) + 1) & ~uint64_t{1}; }
inline uint64_t avi_file_position(const AVI_WRITER* w) { return w->base + w->pos; }

/// Stores bytes at the end of the file so far. pos advances in any case.
bool avi_file_put(AVI_WRITER* w, const void* data, size_t n);
bool avi_file_put_zeros(AVI_WRITER* w, size_t n);
/// Waits until everything is in the file.
bool avi_file_flush(AVI_WRITER* w);
/// Writes bytes over at an earlier file position.
bool avi_file_patch(AVI_WRITER* w, uint64_t position, const void* data, size_t n);
/// File position up to which all bytes are in the file. Exact after a flush or a failure.
uint64_t avi_file_stored(const AVI_WRITER* w);

/// A whole chunk, with the padding byte of an odd size.
bool avi_chunk_put(AVI_WRITER* w, uint32_t code, const void* data, uint32_t size);
/// Begins a chunk; its size field is right from avi_chunk_close on, which also pads.
bool avi_chunk_open(AVI_WRITER* w, AVI_OPEN_CHUNK* chunk, uint32_t code);
bool avi_chunk_close(AVI_WRITER* w, const AVI_OPEN_CHUNK& chunk);
/// Begins a chunk of code RIFF or LIST whose body starts with `type`.
bool avi_list_open(AVI_WRITER* w, AVI_OPEN_CHUNK* chunk, uint32_t code, uint32_t type);
