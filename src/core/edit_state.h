#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/soft_convert.h"
#include "platform/path.h"  // PATH_SIZE, the room of every path and name
#include "vantel_formats.h"

/// The records of the edit. EDIT_STATE is at once the working state of the whole program and, byte for byte, the body
/// of a project file: no field may move. Fields that once held an address hold an id of platform/handle.h (0 = null),
/// which means nothing in a file. Texts are NUL-terminated code page 932. All integers are little-endian. Owned by the
/// main thread. There is one EDIT_STATE in the process; it is allocated zeroed by start-up and keeps its address until
/// shut-down.

inline constexpr int SOURCE_MAX = 64;
inline constexpr int PROFILE_MAX = 96;
inline constexpr int FRAME_SETTING_MAX = 64;
inline constexpr int CLIP_MAX = 256;
inline constexpr int FORMAT_SIZE_MAX = 8192;

#pragma pack(push, 1)

struct AVI_RECT32 {
    int32_t left, top, right, bottom;
};

/// AVISTREAMINFO: what an AVI stream header says, in the form that the record keeps. Frame rate or sound rate is
/// dwRate / dwScale, dwLength counts frames or sound blocks.
struct AVI_STREAM_INFO {
    uint32_t fccType;     // "vids" or "auds"
    uint32_t fccHandler;  // four-character code
    uint32_t dwFlags;
    uint32_t dwCaps;
    uint16_t wPriority;
    uint16_t wLanguage;
    uint32_t dwScale;
    uint32_t dwRate;
    uint32_t dwStart;
    uint32_t dwLength;
    uint32_t dwInitialFrames;
    uint32_t dwSuggestedBufferSize;
    uint32_t dwQuality;
    uint32_t dwSampleSize;  // bytes of a sound block; 0 = variable
    AVI_RECT32 rcFrame;
    uint32_t dwEditCount;
    uint32_t dwFormatChangeCount;
    char szName[64];
};

/// A compressor (or, as MEDIA_RECORD::decoder, a decompressor) choice with its working state.
struct VIDEO_CODEC_SETTING {
    uint32_t setting_flags;         // VIDEO_SETTING_COPY: no recompression
    uint32_t compressor;            // id
    uint32_t handler;               // four-character code, 0 = uncompressed
    int32_t quality;                // 0 .. 10000
    int32_t key_rate;               // key frame every n frames, 0 = only the first
    int32_t data_rate;              // KB a second, 0 = none
    int32_t frame_number;           // next frame of the session
    BITMAPINFOHEADER input_format;  // into the compressor; out of a decompressor
    int32_t key_countdown;          // frames up to the next forced key frame
    int32_t bytes_per_frame;        // budget of one frame
    int32_t budget;                 // bytes left for the next frame
    uint32_t output_buffer;         // id
    uint32_t previous_frame;        // id
    uint8_t output_format[FORMAT_SIZE_MAX];
    int32_t output_format_size;
    uint8_t codec_state[16384];
    int32_t codec_state_size;  // 0 = none
    uint8_t reserved[32];
};
inline constexpr uint32_t VIDEO_SETTING_COPY = 0x08;

/// Header of one block on its way through a converter stage.
struct AUDIO_STREAM_HEADER {
    uint8_t unused_a[24];
    uint32_t source;       // id
    uint32_t source_size;  // bytes
    uint32_t source_used;
    uint8_t unused_b[4];
    uint32_t target;  // id
    uint32_t target_size;
    uint32_t target_used;
    uint8_t unused_c[32];
};

/// A sound conversion: the edit's PCM to a chosen format, or (MEDIA_RECORD::converter) stored sound to PCM.
struct AUDIO_OUTPUT_SETTING {
    uint32_t audio_flags;  // AUDIO_SETTING_...
    uint32_t final_driver, final_stream;
    AUDIO_STREAM_HEADER final_header;
    uint32_t first_driver, first_stream;
    AUDIO_STREAM_HEADER first_header;
    WAVEFORMATEX middle_format;
    uint16_t reserved_a;
    SOFT_CONVERTER final_soft, first_soft;
    uint8_t target_format[FORMAT_SIZE_MAX];  // a WAVEFORMATEX with its extra bytes
    int32_t target_format_size;
    int32_t interleave;  // frames a group of sound covers
    uint8_t reserved_b[28];
};
enum : uint32_t {
    AUDIO_SETTING_FINAL_OPEN = 0x01,
    AUDIO_SETTING_FIRST_OPEN = 0x02,
    AUDIO_SETTING_CHOSEN = 0x04,  // a format other than the edit's is chosen
    AUDIO_SETTING_COPY = 0x08,    // no recompression
    AUDIO_SETTING_NONE = 0x20,    // write no sound
};

/// What an input plug-in said of its file; pointers of the live block are not kept.
struct MEDIA_INFO_STORED {
    uint32_t flags;
    int32_t rate, scale, frames;
    uint32_t video_format;
    int32_t video_format_size;
    int32_t audio_samples;
    uint32_t audio_format;
    int32_t audio_format_size;
    uint32_t video_handler;
    uint32_t reserved[7];
};

/// Formats and read state of one opened source. `base` of EDIT_STATE gives the edit its formats; `save_context` is one
/// too, whose last members hold the working settings of a save.
struct MEDIA_RECORD {
    uint32_t media_flag;  // MEDIA_...
    int32_t media_width;
    int32_t media_height;  // always positive
    int32_t media_frames;  // at double rate, twice the stored number
    BITMAPINFOHEADER video_header;
    WAVEFORMATEX audio_header;
    uint16_t reserved_a;
    uint32_t media_handle;  // id of the open INPUT_HANDLE
    MEDIA_INFO_STORED media_info;
    AVI_STREAM_INFO video_stream, audio_stream;
    uint8_t video_format[FORMAT_SIZE_MAX];
    int32_t video_format_size;
    uint8_t audio_format[FORMAT_SIZE_MAX];
    int32_t audio_format_size;
    VIDEO_CODEC_SETTING decoder;
    AUDIO_OUTPUT_SETTING converter;
    int32_t last_frame;    // stored frame now in the read buffer, -1 none
    uint32_t read_buffer;  // id
    uint8_t reserved_b[24];
};
using SAVE_CONTEXT = MEDIA_RECORD;

enum : uint32_t {
    MEDIA_OPEN = 0x01,  // an input handle is open
    MEDIA_HAS_VIDEO = 0x02,
    MEDIA_HAS_AUDIO = 0x04,
    MEDIA_DECODER_OPEN = 0x08,
    MEDIA_CONVERTER_OPEN = 0x40,
    MEDIA_DOUBLE_RATE = 0x100,    // every stored frame appears twice
    MEDIA_AVI_SEQUENCE = 0x2000,  // a numbered series of AVI files
    MEDIA_FPS_ADJUSTED = 0x4000,  // rate adjusted to the length of the sound
    MEDIA_SELF_DECODE = 0x8000,   // the reader decodes to RGB24
    MEDIA_VARIABLE_AUDIO = 0x10000,
    MEDIA_ALL_KEY = 0x20000,
};

struct SOURCE_SLOT {
    char path[PATH_SIZE];  // "" = free
    MEDIA_RECORD media;
};

struct VIEW_RECORD {
    uint32_t view_flag;  // VIEW_...
    int32_t left, top, width, height;
    int32_t zoom;  // 0 .. 6 = 25, 50, 100, 200, 300, 400 percent, window size
    uint32_t main_window, trackbar;
    uint32_t button_back, button_forward, button_in, button_out;
    uint32_t display_code;  // "YUY2" while an overlay is on
    int32_t draw_rect[6];   // picture left, top, shown width, shown height, source width, source height
    uint8_t reserved[8];
};
enum : uint32_t {
    VIEW_EDIT_SHOWN = 0x01,
    VIEW_AT_START = 0x02,
    VIEW_AT_END = 0x04,
    VIEW_WAVE = 0x08,
    VIEW_SAVE_PREVIEW = 0x10,
    VIEW_SHOW_DROPS = 0x20,
    VIEW_IS_DROP = 0x40,
    VIEW_OVERLAY = 0x200,
    VIEW_ON_TOP = 0x800,
    VIEW_MARK_KEYS = 0x1000,
    VIEW_MARK_RECOMPRESS = 0x2000,
    VIEW_SHOW_TIME = 0x4000,
    VIEW_FILTER_ON_SAVE = 0x8000,  // filter only while saving
    VIEW_DATA_RATE = 0x10000,
};

struct OUTPUT_SETTING {
    char plugin_name[256];
    uint8_t plugin_config[16384];
    int32_t plugin_config_size;
    uint8_t reserved[32];
};

struct EDIT_STATE {
    uint32_t edit_flag;         // EDIT_...
    char file_name[PATH_SIZE];  // first opened file
    char save_name[PATH_SIZE];  // last output
    char project_name[PATH_SIZE];
    int32_t width, height;  // pixels of the edit's pictures
    int32_t frame_n;
    int32_t select_start, select_end;  // inclusive
    int32_t select_anchor;             // frame + 1 at which a selecting movement began, 0 = none
    int32_t out_width, out_height;     // last rendered picture, behind the chain
    int32_t frame;                     // current frame
    uint32_t shown_image;              // id of the last rendered picture, 0 = nothing rendered
    BITMAPINFOHEADER shown_header;     // the picture in display format
    uint32_t shown_pixels;             // id of the picture in display format, 0 = not yet converted
    uint32_t shown_wave;               // id of the samples drawn under the picture
    int32_t shown_wave_n;              // 16-bit values there
    VIEW_RECORD view;                  // of the running window, never taken from a file
    MEDIA_RECORD base;
    SAVE_CONTEXT save_context;
    VIDEO_CODEC_SETTING video_setting;
    AUDIO_OUTPUT_SETTING audio_setting;
    uint32_t reserved_a;
    char profile_name[PROFILE_MAX][PATH_SIZE];
    SOURCE_SLOT source[SOURCE_MAX];
    VIDEO_CODEC_SETTING frame_video_setting[FRAME_SETTING_MAX];
    uint32_t clip[CLIP_MAX];  // ids of IMAGE_CLIP, [0] unused
    char ex_title[256], ex_comment[256], ex_copyright[256];
    int32_t output_kind;  // OUTPUT_KIND_...
    OUTPUT_SETTING output_setting;
    uint8_t reserved_b[1024];
    uint32_t column_pointer[10];  // unused here: the columns are FRAME_TABLE
};
enum : uint32_t {
    EDIT_OPEN = 0x01,
    EDIT_RELAYOUT = 0x02,  // the next redraw fits the window to the picture
    EDIT_SAVING = 0x10,
    EDIT_SAVE_LOG = 0x80,
    EDIT_SAVE_WAV = 0x200,
};
enum : int32_t { OUTPUT_KIND_AVI = 0, OUTPUT_KIND_WAV = 1, OUTPUT_KIND_PLUGIN = 2 };

#pragma pack(pop)

/// frame_inter values.
enum : uint8_t {
    INTER_STANDARD = 0,
    INTER_REVERSE = 1,
    INTER_ODD = 2,
    INTER_EVEN = 3,
    INTER_DOUBLE = 4,
    INTER_AUTO = 5,
};

/// frame_flag bits. The low four are the user's; the high four are cached analysis, dropped when a frame is copied.
enum : uint8_t {
    FRAME_KEY = 0x01,
    FRAME_MARK = 0x02,
    FRAME_DROP = 0x04,
    FRAME_COPY = 0x08,
    FRAME_USER_FLAGS = 0x0F,
    FRAME_FIELD_DONE = 0x10,
    FRAME_FIELD_ODD = 0x20,
    FRAME_PHASE_DONE = 0x40,
    FRAME_METRIC_DONE = 0x80,
};

/// The one edit of the process, null before start-up and after shut-down.
extern EDIT_STATE* edit_state;
