#pragma once

#include <cstdint>

/// What a save is asked to do: the request of a save and the flags that it works out for the writer.

/// Request bits.
enum : uint32_t {
    SAVE_REQ_ADD_TO_BATCH = 1,   // file the request as a batch job, run nothing
    SAVE_REQ_QUIET = 2,          // no dialog, no box, no finish notice
    SAVE_REQ_WAV = 4,            // the WAV output command
    SAVE_REQ_WAV_COMPANION = 8,  // second pass: the sound of the selection beside a finished AVI file
    SAVE_REQ_PLUGIN = 16,        // the plug-in output command
};

/// Save flags. Output plug-ins see them as a mask, so the values are fixed.
enum : uint32_t {
    SAVE_VIDEO = 1,                      // a video stream is written
    SAVE_AUDIO = 2,                      // a sound stream is written
    SAVE_VIDEO_COMPRESS = 4,             // frames go through the chosen compressor
    SAVE_AUDIO_COMPRESS = 8,             // sound goes through the chosen conversion
    SAVE_WAV_FILE = 16,                  // the container is a WAV file
    SAVE_VIDEO_COPY = 32,                // stored frames of the source are copied as they stand
    SAVE_AUDIO_COPY = 64,                // stored sound of the source is copied as it stands
    SAVE_VIDEO_COPY_OR_RECOMPRESS = 128  // beside SAVE_VIDEO_COPY: what cannot be copied goes through the compressor
};
