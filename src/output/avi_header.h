#pragma once

#include <cstdint>
#include <span>

#include "core/edit_state.h"
#include "output/avi_format.h"

/// The header values of an output, from the save context and the save flags (save_flags.h). Counts are 0: they are
/// known at closing. Pure functions, no errors.

/// `avih` for a number of streams.
AVI_MAIN_HEADER avi_header_main(const SAVE_CONTEXT* context, uint32_t stream_n);
/// `strh` of the video stream.
AVI_STREAM_HEADER avi_header_video(const SAVE_CONTEXT* context, uint32_t flags);
/// `strh` of the sound stream.
AVI_STREAM_HEADER avi_header_audio(const SAVE_CONTEXT* context, uint32_t flags);

/// `strf` of the streams, and `fmt ` of a WAV file: bytes inside the context, at most FORMAT_SIZE_MAX.
std::span<const uint8_t> avi_format_video(const SAVE_CONTEXT* context, uint32_t flags);
std::span<const uint8_t> avi_format_audio(const SAVE_CONTEXT* context, uint32_t flags);
