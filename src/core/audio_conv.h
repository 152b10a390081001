#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct AUDIO_CODEC_STREAM;
struct AUDIO_OUTPUT_SETTING;
struct SOFT_CARRY;
struct SOFT_CONVERTER;
struct WAVEFORMATEX;

/// Sound from one format into another, block by block: one or two stages, each the software converter or a codec of the
/// platform. An AUDIO_OUTPUT_SETTING says the target and keeps what its record has room for; streams, carried bytes and
/// buffers live beside it, found by its address. So a copy of the record is no open conversion, and "open" bits and ids
/// of a record that was loaded or copied mean nothing. Formats are WAVEFORMATEX blocks with their extra bytes. Main
/// thread.

/// Bytes of a stage's source and target buffer. Conversions without buffers of their own share the two default blocks
/// of twice this size, since what is read from them is used up before the next call.
inline constexpr size_t AUDIO_STAGE_SIZE = 524288;

/// Fills the table of drivers and allocates the default blocks. False when memory is short. audio_conv_open does it
/// when nobody has.
bool audio_conv_init();
/// Closes whatever is open and frees everything.
void audio_conv_exit();

/// Opens the conversion from a format to conv->target_format (target_format_size bytes): in one stage; else, from PCM,
/// over 16-bit PCM of the target's rate and channels; else, to PCM, over 16-bit PCM of the source's rate and channels
/// (at most two). A block of work memory for the sources of the stages and one for their targets may be given, which
/// must outlive the conversion; two stages have the halves. Whatever the record says to be open is forgotten, an open
/// conversion of this record closed. 1, or 0 with no stage open.
int audio_conv_open(AUDIO_OUTPUT_SETTING* conv, std::span<const uint8_t> source_format,
                    std::span<uint8_t> source_block = {}, std::span<uint8_t> target_block = {});
/// Closes the stages and clears their bits. Nothing when none is open.
void audio_conv_close(AUDIO_OUTPUT_SETTING* conv);
/// Starts the stream anew, as closing and opening with the same formats and buffers does. 1 or 0, then closed.
int audio_conv_reset(AUDIO_OUTPUT_SETTING* conv);

/// Converts a block. data null: drains, that is gives what codecs hold back; call until it gives no bytes. Returns the
/// result, valid until the next run of any conversion, and its bytes; null on failure: nothing is open, a block larger
/// than audio_conv_block_max, a codec that cannot go on, a result that has no room.
const uint8_t* audio_conv_run(AUDIO_OUTPUT_SETTING* conv, const void* data, size_t size, size_t* out_size);

/// Bytes of the largest block that the next run takes, whole samples of PCM; 0 when nothing is open.
size_t audio_conv_block_max(const AUDIO_OUTPUT_SETTING* conv);

/// The bytes of each packet of the last run's result, when the final stage is a codec; their sum is all of it.
std::span<const size_t> audio_conv_packets(const AUDIO_OUTPUT_SETTING* conv);

/// Whether the whole conversion is one software stage; such a one is measured by counting.
bool audio_conv_is_soft(const AUDIO_OUTPUT_SETTING* conv);
/// The state of that stage, or of one that has just been opened.
void audio_conv_soft_state(const AUDIO_OUTPUT_SETTING* conv, bool fresh, SOFT_CONVERTER* soft, SOFT_CARRY* carry);

/// The codec among the stages, the first one; null without one.
AUDIO_CODEC_STREAM* audio_conv_codec(const AUDIO_OUTPUT_SETTING* conv);
/// Drops the next `samples` samples that a decoding codec stage gives, in front of any stage behind it.
void audio_conv_skip(AUDIO_OUTPUT_SETTING* conv, int64_t samples);

/// Whether a format is PCM: tag 1, or the extensible tag with the sub-format PCM, up to 32 bits and two channels.
bool audio_format_is_pcm(std::span<const uint8_t> format);
/// The first 18 bytes of a format block; what the block does not hold is 0.
WAVEFORMATEX audio_format_head(std::span<const uint8_t> format);
/// 16-bit PCM of a rate and number of channels.
WAVEFORMATEX audio_format_pcm16(uint32_t rate, int channels);
