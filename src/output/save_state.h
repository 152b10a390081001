#pragma once

#include <cstdint>

#include "output/save_copy.h"

struct EDIT_STATE;
struct WRITER;

/// One running save. Inside the driver only.
struct SAVE {
    EDIT_STATE* edit;
    uint32_t request;  // SAVE_REQ_...
    uint32_t flags;    // SAVE_...
    uint32_t mask;     // filters that are told: 1 video, 2 audio
    int first, last;   // the selection
    int error;         // string number of what went wrong, 0 = nothing
    const WRITER* writer;
    int written;                // frames in the file
    int frame_setting;          // the entry of frame_video_setting that the compressor follows
    bool recompressing = true;  // the last frame went through the compressor of a copying save, or it is still fresh
    SAVE_COPY_RUN copy_run;
    SAVE_COPY_HEADERS copy_headers;
    bool copy_none;  // all frames of a copying save go through the compressor
    int log;         // file, -1 = none
    int64_t log_size;
};

/// The steps behind a good save: the WAV companion and the notice. 1, or 0 when the companion failed.
int save_finish(EDIT_STATE* edit, uint32_t request);
