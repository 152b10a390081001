#pragma once

#include <cstddef>
#include <cstdint>

#include "core/edit_state.h"

/// Writes AVI files (OpenDML ones when they outgrow the first RIFF list) and WAV files. One file at a time in the
/// process, one calling thread; a disk thread of the writer's own does the storing. The save context gives the formats
/// (edit_state.h), the flags are the save flags of save_flags.h.
///
/// A failed write (full disk, size limit, failing disk) may be heard of some calls late. avi_close then ends the file
/// behind the last chunks that are in it as a whole, within the space that it already has: it opens as a shorter file.

enum : int { AVI_OK = 1, AVI_LOST = 0, AVI_NO_FILE = -1, AVI_NO_AUDIO_CODEC = -2, AVI_NO_VIDEO_CODEC = -3 };

/// SAVE_CONTEXT::media_flag while a file is open; 0 otherwise.
enum : uint32_t {
    WRITER_AVI = 0x01,
    WRITER_VIDEO = 0x02,
    WRITER_AUDIO = 0x04,
    WRITER_COMPRESSOR = 0x10,
    WRITER_CONVERTER = 0x20,
    WRITER_WAV = 0x80,
};

/// KiB of a write to the disk, 0 to 65536 (other values are bounded): the ring buffer has 4 times that. 0: no disk
/// thread, calls store their bytes themselves. The file is the same with any value. Default 4096. For the next
/// avi_open.
void avi_writer_set_unit(int kib);
/// Frames that an edit may have, 1024 to 8388607 (other values are bounded). A RIFF list takes twice as many chunks;
/// one more is a write failure. Default 320000. For the next avi_open.
void avi_writer_set_frame_limit(int frames);

/// Creates (or replaces) the file and writes its headers. name: code page 932. info: body of the `INFO` list, the code
/// "INFO" included (see avi_info_add), at most 4096 bytes; size 0: none. Taken: an AVI file needs SAVE_VIDEO, and no
/// file may be open. AVI_OK, or: AVI_NO_FILE the file cannot be created, or another process is writing it (a second
/// attempt is made after one second, but a folder is refused at once), the headers have no room, memory is short;
/// AVI_NO_AUDIO_CODEC, AVI_NO_VIDEO_CODEC no session could be opened, or a WAV file is to have sound in packets without
/// borders (AAC). After a failure nothing is open; a file that was created stays.
int avi_open(SAVE_CONTEXT* context, const char* name, uint32_t flags, const void* info, size_t info_size);

/// Finishes and closes whatever is open, without waiting for the disk. 1 when everything that was given to the writer
/// is in the file, or nothing was open; 0 when something was refused or lost. media_flag is 0
/// afterwards.
int avi_close(SAVE_CONTEXT* context);

/// Writes a frame of video_header's format and biSizeImage bytes. out_size, if not null: bytes of the chunk. 1 (also
/// without a video stream), AVI_LOST on a write failure, AVI_NO_VIDEO_CODEC when the compressor failed.
int avi_put_frame(SAVE_CONTEXT* context, const void* pixels, uint32_t* out_size);

/// Writes a frame that is compressed already, up to 268,435,455 bytes; 0 bytes repeat the frame before. flags: 16 for a
/// key frame. 1 (also without a video stream) or AVI_LOST.
int avi_put_stored_frame(SAVE_CONTEXT* context, const void* bytes, size_t size, uint32_t flags);

/// Writes sound of audio_header's format, through the conversion when there is one; size 0 fetches what a conversion
/// still holds, and comes before avi_close. 1 (also without a sound stream or when there is nothing to write),
/// AVI_LOST, AVI_NO_AUDIO_CODEC when the conversion failed. A WAV file takes no more than its 32-bit sizes can tell:
/// what would pass is refused, AVI_LOST.
int avi_put_audio(SAVE_CONTEXT* context, const void* bytes, size_t size);
/// The same without the conversion.
int avi_put_stored_audio(SAVE_CONTEXT* context, const void* bytes, size_t size);

/// Ends the compressor's session and begins one with another setting, so that the next frame is a key frame. Does
/// nothing without a session. 1 or AVI_NO_VIDEO_CODEC.
int avi_restart_compressor(SAVE_CONTEXT* context, const VIDEO_CODEC_SETTING* setting);

/// Writes a sub-chunk of an `INFO` list at target: code, size, the text, its NUL and zeros up to a multiple of 4, that
/// is 8 + (length + 4) / 4 * 4 bytes. Returns the place behind it.
uint8_t* avi_info_add(uint8_t* target, uint32_t code, const char* text);

/// Bits a second so far: bytes of the file * rate / scale / frames * 8. 0 before the first frame, for a WAV file and
/// without a video stream.
int64_t avi_data_rate(const SAVE_CONTEXT* context);
