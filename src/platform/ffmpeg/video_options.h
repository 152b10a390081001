#pragma once

#include <map>
#include <string>

#include "platform/ffmpeg/video_rows.h"

/// The configuration of an encoder: values by key, all of video_codec_options' keys present.
using VIDEO_OPTION_VALUES = std::map<std::string, std::string>;

VIDEO_OPTION_VALUES video_options_default(const VIDEO_ROW& row);
std::string video_options_text(const VIDEO_ROW& row, const VIDEO_OPTION_VALUES& values);
bool video_options_parse(const VIDEO_ROW& row, std::string_view text, VIDEO_OPTION_VALUES* values);
/// The pixel format that the option "subsampling" asks for in place of `format`.
AVPixelFormat video_options_format(const VIDEO_OPTION_VALUES& values, AVPixelFormat format);
/// Gives the encoder's own options, but for those that do not go with the pixel format; the caller frees the
/// dictionary.
void video_options_apply(const VIDEO_OPTION_VALUES& values, AVPixelFormat format, AVDictionary** dictionary);
