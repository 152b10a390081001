#pragma once

#include <cstdint>

struct EDIT_STATE;

/// The frame table: ten columns beside EDIT_STATE, indexed by frame number. Each has room for frame_limit() frames and
/// may be read at eight places before index 0 and behind the last index. Main thread.
struct FRAME_TABLE {
    uint32_t* frame_video;         // FRAME_REF of the picture
    uint32_t* frame_audio;         // FRAME_REF of the sound; its number counts frames of the edit's rate
    uint32_t* frame_field_metric;  // two 16-bit counts of combing, measured with the previous frame
    uint32_t* frame_field_diff;    // changed pixels against the previous frame
    uint8_t* frame_inter;          // INTER_...
    uint8_t* frame_phase;          // 0 .. 4 in a 5-frame cycle
    uint8_t* frame_flag;           // FRAME_...
    uint8_t* frame_profile;        // index into profile_name
    uint8_t* frame_compress;       // index into frame_video_setting, below 64
    uint8_t* frame_clip;           // index into clip, 0 = none
};
extern FRAME_TABLE frame_table;

/// Allocates the columns for `limit` frames, zeroed. 1, or 0 when memory is short (told).
int frame_table_alloc(int limit);
void frame_table_free();
/// Zeroes all columns with their guard entries.
void frame_table_clear();
/// The largest frame count of this run (FRAME_LIMIT); 0 before frame_table_alloc.
int frame_limit();

/// FRAME_REF: one frame of one source in 32 bits, biased by 256 so that a reference may point a little before the
/// source's start; adding 1 moves to the next frame of the same source.
constexpr uint32_t frame_ref_make(int source, int number) { return uint32_t(source) * 0x1000000u + uint32_t(number); }
constexpr int frame_ref_source(uint32_t ref) { return int((ref + 256) >> 24); }
constexpr int frame_ref_number(uint32_t ref) { return int((ref + 256) & 0xFFFFFF) - 256; }
inline constexpr int FRAME_REF_NUMBER_MAX = 0xFFFFFF - 256;

/// A frame index held to 0 .. frame_n - 1.
int frame_clamp(const EDIT_STATE* edit, int frame);
/// The index in profile_name of a frame's profile, and the name; the frame is held as above.
int frame_profile_index(const EDIT_STATE* edit, int frame);
const char* frame_profile_name(const EDIT_STATE* edit, int frame);

/// Copies an entry without its cached analysis (the four user flags stay, metrics are not copied).
void frame_entry_copy(int to, int from);
/// Copies the picture alone and clears the target's cached analysis; or the sound alone.
void frame_entry_copy_picture(int to, int from);
void frame_entry_copy_sound(int to, int from);
