#pragma once

#include <cstdint>

#include "output/chain_mix.h"
#include "output/chain_mix_source.h"

struct COPY_FIELDS;
struct EDIT_STATE;

/// One running join or mix: the steps that both share. Inside these two tools only.
struct COPY_RUN {
    EDIT_STATE* edit;
    const char* output;
    SAVE_CONTEXT context;  // also the rate by which sound is cut into groups
    uint32_t flags;        // SAVE_...
    int frame_n;           // of the whole output
    int interleave;        // frames of a group of sound
    COPY_BUFFER buffer;
    int error;               // string number of what ended the run, 0 = nothing
    const char* error_file;  // the file it is about
};

/// Whether the output may be written: it is none of the inputs and, with an edit open, none of its files. Told.
bool copy_output_allowed(const EDIT_STATE* edit, const char* output, const char* const* inputs, int input_n);
/// Whether so many frames fit an edit. Told.
bool copy_length_allowed(const char* path, int64_t frames);

/// Creates the output and starts the progress. context, flags and frame_n are filled. False (told): nothing is open.
bool copy_run_begin(COPY_RUN* run, const COPY_FIELDS& fields);
/// The start of frame i, from 0: false when the user stops the run.
bool copy_run_tick(int i);
/// Copies sound or a frame. False ends the run; `error` says why.
bool copy_run_sound(COPY_RUN* run, COPY_SOURCE* source, int n, int count);
bool copy_run_frame(COPY_RUN* run, COPY_SOURCE* source, int n);
/// Closes the output and tells what went wrong.
void copy_run_end(COPY_RUN* run);
