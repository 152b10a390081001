#pragma once

#include <cstdint>

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
};

/// The steps behind a good save: the WAV companion and the notice. 1, or 0 when the companion failed.
int save_finish(EDIT_STATE* edit, uint32_t request);
