#pragma once

struct EDIT_STATE;

/// Whether stored frames may be copied as they stand.
enum : int {
    SAVE_COPY_GOOD = 1,
    SAVE_COPY_FORMAT_DIFFERS = -1,
    SAVE_COPY_SIZE_DIFFERS = -2,
    SAVE_COPY_NO_KEY_FRAME = -3,  // the run of source frames does not reach back to a key frame
    SAVE_COPY_DOUBLE_RATE = -4,
};

/// The frame that was looked at last, so that a walk through the frames of a long run does not go back to its key frame
/// each time.
struct SAVE_COPY_RUN {
    int frame = -1;  // none
    bool good = false;
};

/// A frame can be copied when its source has the format and size of the edit's first one, is not read at double rate,
/// and the frame is a key frame or follows one, frame by frame, not below `first`. run: kept
/// by the caller over the frames of one walk; a new one for each `first`.
int save_copy_check(EDIT_STATE* edit, int frame, int first, SAVE_COPY_RUN* run);
