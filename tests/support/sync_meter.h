#pragma once

#include <string>
#include <vector>

/// Measures whether the sound of a clip of flashes and beeps (demo/clip.h) keeps with its pictures, from what ffmpeg
/// decodes of a file.
struct SYNC_MARKS {
    std::vector<double> flashes, beeps;  // beginnings, in seconds
    double sound_seconds;                // decoded
    double told_seconds;                 // by the header of the sound stream
};
/// folder: for the decoded bytes. fps and rate: of the file's frames and samples. Pictures are 48 rows high.
SYNC_MARKS sync_measure(const std::string& folder, const std::string& path, double fps, int rate);

/// The largest distance of a flash to the beep of its place, in seconds; 1000 when they are not equally many.
double sync_error(const SYNC_MARKS& marks);
