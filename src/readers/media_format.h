#pragma once

#include <cstddef>
#include <cstdint>

#include "vantel_formats.h"

/// Format blocks as files carry them, made safe for the rest of the program where they are read.

/// Puts right what is wrong in a picture format of `size` bytes: a biSize that is not 40 .. size becomes size. False
/// when it cannot be used: below 40 bytes, or no width or height.
bool picture_format_repair(BITMAPINFOHEADER* format, size_t size);

/// Bytes of one row of a picture that is stored as it is: whole bytes, rounded up to a multiple of 4.
uint64_t picture_row_bytes(int32_t width, uint16_t bits);

/// Whether a picture of plain RGB can have so many bits a pixel: 1, 4, 8, 16, 24, 32.
bool picture_bits_are_rgb(uint16_t bits);
/// Bytes of the palette that stands ahead of the rows of plain RGB: 8, 64, 1024 with 1, 4, 8 bits a pixel, else 0.
size_t picture_palette_bytes(uint16_t bits);

/// Whether a sound format of `size` bytes is PCM: tag 1, or the extensible tag with the sub-format PCM.
bool sound_format_is_pcm(const WAVEFORMATEX* format, size_t size);

/// Puts right what is wrong in a sound format of `size` bytes: an nBlockAlign of 0 becomes channels x bits / 8, a
/// cbSize is cut to what the block holds, nAvgBytesPerSec 0 of PCM becomes rate x nBlockAlign. False when it cannot be
/// used: below 16 bytes, no channels, a rate of 0 or from 2^31 up, or (unless `variable`, whose blocks count as single
/// bytes) a block size that stays 0 or does not fit its 16 bits.
bool sound_format_repair(WAVEFORMATEX* format, size_t size, bool variable);
