#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// The machine's sound codecs, by the format tags that AVI and WAV files carry. A stream turns sound of one format into
/// another, one of the two being 16-bit PCM (tag 1) of the same rate and, for an encoder, the same channels. Formats
/// are WAVEFORMATEX blocks with their extra bytes, as they lie in a file. Calls on one stream come from one thread.

/// Drivers in the order in which they are to be tried; one for each format tag. The number is what the others take.
int audio_codec_count();

struct AUDIO_CODEC_INFO {
    uint16_t tag;
    std::string name;  // UTF-8, for the user
    bool encodes, decodes;
};
/// What a driver is; number in 0 .. audio_codec_count() - 1.
const AUDIO_CODEC_INFO& audio_codec_info(int driver);
/// Name of a format tag in UTF-8, "" when no driver knows it.
std::string audio_codec_name(uint16_t tag);

/// Formats with extra bytes that the machine can encode from PCM of this rate and channels: what a user may choose.
struct AUDIO_CODEC_CHOICE {
    std::vector<uint8_t> format;  // a WAVEFORMATEX with its extra bytes
    std::string name;             // "MP3 128 kbit/s, 44100 Hz, stereo"
};
std::vector<AUDIO_CODEC_CHOICE> audio_codec_choices(uint32_t rate, int channels);

struct AUDIO_CODEC_STREAM;
struct AUDIO_CODEC_CLOSE {
    void operator()(AUDIO_CODEC_STREAM* stream) const;
};
using AUDIO_CODEC_PTR = std::unique_ptr<AUDIO_CODEC_STREAM, AUDIO_CODEC_CLOSE>;

/// Opens a stream of a driver between two formats; null when it does not go from the one to the other. Formats are not
/// trusted: rates (1 to 768000), channels (1 to 16), block sizes and extra bytes out of range give null.
/// An encoder makes only formats that audio_codec_choices gives for some rate, channels and bit rate; MP3 and AC-3 at
/// each bit rate that they have, AAC at any from 8 kbit/s to 6 bits a sample, ADPCM in blocks of 32 to 8192 bytes,
/// powers of 2.
/// A decoder gives the source's channels, or 1 or 2 from more than two:
///   L = (FL + 0.7071 FC + 0.7071 (BL + SL) + ...) / s, R likewise; mono is (L + R) / 2 of the unrounded values.
/// The weights are whole numbers of 65536ths: 65536 for front left and right, 46341 for the centre (to both sides) and
/// for all other speakers of a side, 32768 for those behind or above the middle (to both), 0 for low frequencies. s is
/// the sum of a side's weights, the larger of the two, so that nothing clips. Sums are exact or in double, in the order
/// of the channels, divided once and rounded to the nearest 16-bit value (a half to even). Samples of more than 16 bits
/// are rounded likewise without a downmix; 16-bit ones of equal channels pass as they are.
AUDIO_CODEC_PTR audio_codec_open(int driver, std::span<const uint8_t> source, std::span<const uint8_t> target);

/// One call's bytes. The stream takes what it can from source and gives what fits of its result in target; what it did
/// not take belongs into the next call's source again.
struct AUDIO_CODEC_BLOCK {
    std::span<const uint8_t> source;
    std::span<uint8_t> target;
    size_t source_used;
    size_t target_used;
};

/// Converts a block. `end` says that nothing follows: what an encoder or decoder holds back is given out, as much as
/// fits in target; repeat until target_used is 0 and source_used is all of it. A damaged packet becomes silence of its
/// length or is passed over, so that later sound keeps its place; false only when the stream can go no further.
///
/// Encoders give aligned sound: the first sample of the source is the first that a plain decoder gives back (the
/// encoder's delay is cut off at the front), and behind the end whole packets hold all of the source: packets of p
/// samples number ceil(n / p). As the packets in front are cut off, the overlap that the first one would need is not
/// there: the sound of MP3 (about 1060 samples), AAC (1024) and AC-3 (256) fades in.
/// Source and target may be cut anywhere, with one exception: a format whose packets have no length of their own (AAC,
/// audio_codec_layout gives unit 0) is encoded into one whole packet a call, nothing when target is too small for it
/// (nBlockAlign always suffices), and decoded from a source that holds whole packets, one or more.
///
/// Decoders give the samples of the packets in order, from the first packet found in source on, and cut no delay: MP3,
/// AC-3 and AAC of other encoders sound as late as in any player that knows the packets only (MP3 of LAME 1105 samples,
/// 25 ms at 44.1 kHz; AVI files have no place for the figure). A- and mu-law and uncompressed samples come at once;
/// MP3 and AC-3 wait for the header that follows when they must find their place.
bool audio_codec_convert(AUDIO_CODEC_STREAM* stream, AUDIO_CODEC_BLOCK* block, bool end);

/// Samples of each channel that one packet of the stored side holds: 1152 for MP3 of 32 kHz and above, 576 below, the
/// block of ADPCM; 1 for A-law and mu-law; 0 when it varies or is unknown.
int audio_codec_packet_samples(const AUDIO_CODEC_STREAM* stream);
/// Packets that a decoder must see before the one whose sound is wanted whole (bit reservoir, overlap): 0 for ADPCM.
int audio_codec_preroll(const AUDIO_CODEC_STREAM* stream);
/// Bytes of source that a decoder of MP3 or AC-3 passed over before the first packet, whose samples are the first that
/// it gave; -1 while none was found. After a jump to byte b of a stream with a constant rate, the first sample given is
/// the one of packet round((b + this) * rate / (nAvgBytesPerSec * packet_samples)). 0 for all others.
int64_t audio_codec_first_packet(const AUDIO_CODEC_STREAM* stream);

/// How sound of a format lies in an AVI file: a unit lasts scale / rate seconds (dwScale, dwRate).
struct AUDIO_CODEC_LAYOUT {
    uint32_t rate, scale;
    uint32_t unit;  // bytes of a unit, dwSampleSize; 0: each chunk is a packet and a unit
};
/// False on a format that is none or says nothing of its rate. MP3 and AC-3: bytes at nAvgBytesPerSec; ADPCM: blocks,
/// exact where nAvgBytesPerSec is truncated; AAC: a packet of 1024 samples in each chunk; others: by the format.
bool audio_codec_layout(AUDIO_CODEC_LAYOUT* layout, std::span<const uint8_t> format);
