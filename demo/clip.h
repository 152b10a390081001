#pragma once

#include <string>

/// Makes a short moving, sounding AVI with the program's own writer: a bar that walks over a slowly changing gradient,
/// a frame counter drawn as blocks, and with each second a flash and a beep.
struct CLIP {
    int width, height;
    int rate, scale;
    int frames;
    int bits;         // 16 (5-5-5), 24 or 32: RGB; 0: YUY2
    int sample_rate;  // 0 = no sound; else 16-bit stereo
    int part_limit;   // bytes of a RIFF list, 0 = the usual limit
};
/// Writes it to a path (code page 932). False when the file cannot be written.
bool clip_write(const CLIP& clip, const std::string& path);
