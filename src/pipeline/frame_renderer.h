#pragma once

#include <cstdint>

#include "vantel_filter.h"

struct EDIT_STATE;

/// From a frame number to the finished picture: source, one deinterlace method or a pasted picture, the filter chain,
/// conversion to the display or output format. Main thread; nothing is asynchronous.

/// frame_inter and frame_clip applied, no chain. A param without image is filled in and uses the shared buffers.
/// Returns the image origin.
uint8_t* render_source(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param);

/// The chain applied, up to but not including the stop filter (null: the whole chain). Returns the image origin, null
/// without an edit or memory. The size is in param.
uint8_t* render_filtered(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param, FILTER* stop);

/// Renders the current frame into the working pictures: sets shown_image, out_width, out_height, clears shown_pixels
/// and shown_wave. 1, or 0 without an edit.
int render_current(EDIT_STATE* edit);

/// The picture size behind the chain, for the current frame.
int render_output_size(EDIT_STATE* edit, int* width, int* height);

/// shown_image into the display buffer in the format of a four-character code (0 = RGB24): sets shown_header and
/// shown_pixels. Returns the pixels, null when nothing is rendered.
uint8_t* display_convert(EDIT_STATE* edit, uint32_t code);

/// A source frame without deinterlacing and chain, in output format, in the display buffer: what recompressing a frame
/// that cannot be copied takes.
uint8_t* render_unfiltered(EDIT_STATE* edit, int frame, uint32_t code);

/// A param for a frame of the edit: sizes, buffers' geometry and counts filled in.
void render_param_fill(EDIT_STATE* edit, int frame, FILTER_PROC_PARAM* param, uint8_t* image, uint8_t* scratch);

/// The second step of a redraw, behind render_current: view flags, window size, display format, waveform, drawing.
void paint_current(EDIT_STATE* edit);
