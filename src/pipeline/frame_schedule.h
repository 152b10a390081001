#pragma once

#include "pipeline/frame_analysis.h"

struct EDIT_STATE;
struct MEDIA_RECORD;

/// Which frames of the edit reach the output when the frame rate is reduced (filter STR_FILTER_RATE_CHANGE). Cycles of
/// input frames are counted from the start of the saved range. A frame outside 0 .. frame_n - 1 carries no marks. Main
/// thread, since decisions may measure pictures (frame_analysis.h) or ask a plug-in.

struct RATE_MODE {
    int cycle;  // input frames of a cycle
    int kept;   // of these, how many are output
    int rate;   // frames a second that 30 become, as plug-ins are told; 0 without a change
};
/// By the number of the menu entry: none, 24, 20, 15, 12, 10 frames a second.
inline constexpr int RATE_MODE_N = 6;
extern const RATE_MODE RATE_MODES[RATE_MODE_N];
/// The chosen number, 0 .. 5.
int frame_rate_mode();

/// 1 when the frame is output, else 0. position: the frame's place in the saved range, from 0.
int is_saveframe(EDIT_STATE* edit, int position, int frame);

/// How many of a number of frames are output, as far as whole cycles tell: the number times kept / cycle, cut.
int output_frame_count(int frames);

/// The frame of the edit that is output frame `index` of the range that begins at frame `start`. Rising indices cost
/// one step each; index 0 begins a new walk, which it must do after the marks or settings have changed. An index behind
/// the end gives the last frame, or some number behind it.
int output_frame_of(EDIT_STATE* edit, int index, int start);

/// Brings rate and scale of the context's video stream to the chosen mode, for a save whose pictures go through the
/// filters. With kept of cycle frames: rate * kept / (scale * cycle), while the scale is below 1,000,000 and the new
/// rate is no whole number (and fits 32 bits); else the rate alone becomes rate * kept / cycle, cut. Returns
/// output_frame_count(frames).
int save_scale_rate(EDIT_STATE* edit, MEDIA_RECORD* context, int frames);
