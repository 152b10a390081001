#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_input.h"

/// The table of everything that can read a file: six built-in readers, and behind them plug-in files. input_open picks
/// one by extension and priority; the other operations talk to whatever was picked. Every call into a record's
/// functions is guarded: a fault is reported under the reader's name and counts as failure of that one call. Main
/// thread. Texts and paths are code page 932. No messages but those of the guard.

inline constexpr int INPUT_RECORD_MAX = 32;
inline constexpr int INPUT_HANDLE_MAX = 128;
inline constexpr int INPUT_PRIORITY_N = 32;  // a record of this priority or a higher one is never tried
inline constexpr size_t INPUT_TEXT_SIZE = 256;

/// The host's record of a reader.
struct INPUT_RECORD {
    INPUT_PLUGIN_TABLE table;  // a copy; its functions are valid for built-in readers and while loaded
    char path[260];            // of the plug-in file, "" for a built-in reader
    char name_text[INPUT_TEXT_SIZE];
    char filefilter_text[INPUT_TEXT_SIZE];  // with its NULs; ends with two of them
    char information_text[INPUT_TEXT_SIZE];
    void* module;  // null while unloaded
    int use_count;
    int priority;
    /// As func_read_video, but writes at most capacity bytes and tells when that cut the frame (damaged may be null).
    /// Built-in readers only, else null.
    int (*func_read_video_bounded)(INPUT_PLUGIN_HANDLE handle, int32_t frame, void* buffer, size_t capacity,
                                   bool* damaged);
};

/// One open file. Entries of one table; free ones have `used` false.
struct INPUT_HANDLE {
    INPUT_PLUGIN_HANDLE handle;  // the reader's own, null while it opens
    int record;                  // its index
    bool used;
};

/// Why input_open gave null.
enum INPUT_FAIL : int {
    INPUT_FAIL_NONE = 0,
    INPUT_FAIL_MISSING,        // no such file
    INPUT_FAIL_FOLDER,         // a folder
    INPUT_FAIL_NOT_REGULAR,    // a FIFO, socket or device
    INPUT_FAIL_UNREADABLE,     // no permission, or the machine cannot open it
    INPUT_FAIL_EMPTY,          // 0 bytes
    INPUT_FAIL_NO_READER,      // no reader takes it
    INPUT_FAIL_TOO_MANY_OPEN,  // all handles are in use
    INPUT_FAIL_STOPPED         // the user stopped it
};

/// Clears both tables and enters the built-in readers, in their order, with their texts; runs their func_init. Each
/// record without INPUT_F_BY_NAME gets the next priority from 1 on, one with it 0. Open files must be closed before.
void input_table_init();
/// Closes every open file and runs func_exit of the built-in readers.
void input_table_exit();

/// Enters a reader behind the others, with priority as above: copies the record, its texts (cut to fit) and the path
/// (null = built-in). Returns its index, -1 when the table is full.
int input_record_add(const INPUT_PLUGIN_TABLE& table, const char* path);
int input_record_n();
/// Empties the table and enters the built-in readers, without any call into them. For input_table_init.
void input_records_reset();
/// Null for an index out of range.
INPUT_RECORD* input_record(int index);

/// The k-th pattern of a filefilter, counted through all lists of all pairs. False when there is none.
/// Out: a pattern that does not fit is cut.
bool input_pattern(const char* filefilter, int k, char out[INPUT_TEXT_SIZE]);

/// Opens a file with the first reader that takes it, by rising priority and then in table order, among those behind the
/// record of index `after` (-1 = all). With a name, only the reader of that name_text; without (null), all but
/// those with INPUT_F_BY_NAME. The path's extension must match a pattern. Null: see input_open_error.
INPUT_HANDLE* input_open(const char* path, int after, const char* name);
/// Why the last input_open gave null; INPUT_FAIL_NONE after one that did not.
INPUT_FAIL input_open_error();
/// Null is allowed. Returns 1.
int input_close(INPUT_HANDLE* handle);

/// Index of the reader that has the file, to go on behind it.
int input_index(const INPUT_HANDLE* handle);
/// What func_info_get gave; 0 on a fault. The caller has zeroed *info. The pointers in it are the reader's memory.
int input_info(const INPUT_HANDLE* handle, INPUT_MEDIA_INFO* info);
/// Reads a frame into a buffer of capacity bytes. Returns bytes, 0 .. capacity. Built-in readers keep within capacity
/// and set *damaged (may be null) when it cut the frame; a plug-in does not know it. Width, height and bits of the
/// picture serve readers that write rows.
int input_read_video(const INPUT_HANDLE* handle, int32_t frame, void* buffer, size_t capacity, int width, int height,
                     int bits, bool* damaged = nullptr);
/// Returns the units read, 0 .. count.
int input_read_audio(const INPUT_HANDLE* handle, int32_t start, int32_t count, void* buffer);
/// The position to read a sample at, for files with INPUT_MEDIA_VARIABLE_AUDIO; not negative.
int32_t input_audio_position(const INPUT_HANDLE* handle, int32_t sample);
bool input_is_keyframe(const INPUT_HANDLE* handle, int32_t frame);
/// The reader's name_text, in a buffer that the next call overwrites.
const char* input_reader_name(const INPUT_HANDLE* handle);
