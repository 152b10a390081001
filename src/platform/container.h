#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// Film and sound files of any kind that the machine's libraries know, read by number: picture n and sample n are the
/// same bytes in whatever order they are asked for. Calls on one file come from one thread, the one that drives
/// rendering. Nothing here prints, throws, or opens any other file than the one named, and no file opens the network.
///
/// Pictures. All packets are listed when the file is opened (the list is kept in a cache file, see below), and a
/// picture is decoded from the key frame in front of it, so the answer never depends on what was read before.
/// Sequential reading never seeks. A picture that cannot be decoded shows the one before it.
///
/// Rate. A file whose pictures lie on a grid (each within 0.4 of a picture of its place) keeps its rate, and picture n
/// is the n-th stored one. Any other file becomes constant, at its nominal rate when the pictures lie on the grid of
/// that with places left out (up to 120 a second); else at that of the median distance of two pictures, taken to the
/// usual rate within 1.5 %, not below the average and at most 120. Picture n shows the stored picture that is on
/// display at n / rate (with one tick of the file's clock for rounding).
///
/// Time. 0 is the first picture. Where sound starts later it begins with silence; sound before the first picture is
/// left out, unless it leads by 0.25 s or more: then the first picture stands still for as many whole pictures. Edit
/// lists are followed. In a file without pictures 0 is the first sample.
///
/// Form. Pixels are the stored ones (their aspect is not looked at); a picture that is to be turned is turned. YUV
/// becomes YUY2, top-down, rows of (width + 1) / 2 * 4 bytes, BT.601, 16-235: full range is scaled, and a file that is
/// marked BT.709, BT.2020 or SMPTE 240M is converted; an unmarked one keeps its numbers. The rest becomes 24-bit BGR,
/// bottom-up, rows padded to 4 bytes. Alpha is dropped. Sizes that change on the way are scaled to the first.
///
/// Sound is 16-bit PCM at the stored rate, mono or stereo: of more channels the centre and the surrounds go into both
/// sides at -3 dB, without the low-frequency one, and the sum is scaled so that it cannot clip. What an encoder put in
/// front and behind (delay, padding) is left out where the file tells. It is decoded in stretches of 5 s, each with a
/// decoder of its own that starts 16 packets earlier, so that it too is independent of the order of reading.
struct CONTAINER;
struct CONTAINER_CLOSE {
    void operator()(CONTAINER* container) const;
};
using CONTAINER_PTR = std::unique_ptr<CONTAINER, CONTAINER_CLOSE>;

struct CONTAINER_OPTIONS {
    int threads = 1;  // of the picture decoder; 0 = one for each processor
    int max_width = 16384, max_height = 16384;
    std::string index_folder = {};  // of the cache files, code page 932; "" = none
    /// Called now and then while a long file is listed, with the share done; true stops, and the file does not open.
    bool (*progress)(double done, void* data) = nullptr;
    void* data = nullptr;
    /// Called between the steps of decoding, of which there are many when the last key frame lies far back.
    void (*step)() = nullptr;
};

struct CONTAINER_INFO {
    bool has_picture;
    bool is_rgb;        // 24-bit BGR, else YUY2
    int width, height;  // as shown, that is, turned
    int rate, scale;    // pictures a second = rate / scale, both above 0
    int64_t frames;     // above 0
    bool has_sound;
    int sound_rate, channels;  // channels: 1 or 2
    int64_t samples;           // above 0; what the file then does not hold reads as silence
};

/// Opens a file; null when no demuxer takes it, when nothing in it can be decoded, or when it was stopped. A picture
/// larger than the limits is described but never decoded. path: code page 932.
CONTAINER_PTR container_open(const char* path, const CONTAINER_OPTIONS& options);
const CONTAINER_INFO& container_info(const CONTAINER* container);

/// Bytes of a picture.
size_t container_picture_size(const CONTAINER* container);
/// Writes picture `frame`, held to 0 .. frames - 1, into container_picture_size bytes. False, and nothing written, when
/// there is nothing that could be shown.
bool container_read_picture(CONTAINER* container, int64_t frame, uint8_t* out);
/// Writes up to count samples from `start` on, cut to what the file has. Returns the samples, 0 outside.
int64_t container_read_sound(CONTAINER* container, int64_t start, int64_t count, int16_t* out);

/// How often the picture side has sought since the file was opened.
int container_seeks(const CONTAINER* container);

/// Where cache files go: $VANTEL_HOME/cache/, else $XDG_CACHE_HOME/vantel/, else ~/.cache/vantel/. "" when there is no
/// such place. A file is keyed by path, size and time, checked before use, and never trusted; the oldest of more than
/// 256 are deleted.
std::string container_index_folder();
