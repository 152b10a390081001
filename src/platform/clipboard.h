#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vantel_formats.h"

/// The system's clipboard. Main thread, with the window system running. Pictures are bottom-up rows of 24 bits, each
/// ended at a multiple of 4 bytes, under a header of positive height; one with a side above 16384 counts as none.
/// False: it cannot be had, or holds no such thing.
bool clipboard_put_picture(const BITMAPINFOHEADER& header, const uint8_t* rows);
bool clipboard_take_picture(BITMAPINFOHEADER* header, std::vector<uint8_t>* rows);
bool clipboard_put_text(const std::string& utf8);
bool clipboard_take_text(std::string* utf8);
