#include "ui/file_information.h"

#include <cstdio>

#include "core/audio_format.h"
#include "core/edit_state.h"
#include "platform/handle.h"
#include "readers/codec.h"
#include "readers/input_table.h"
#include "resources/language.h"
#include "resources/string_ids.h"

static std::string label(int id) { return std::string(language_string(id)) + " : "; }

static std::string thousandths(uint32_t whole, uint32_t rest, const char* unit) {
    char text[80];
    std::snprintf(text, sizeof text, "%u.%03u%s", whole, rest, unit);
    return text;
}

static std::string duration_text(const EDIT_STATE* edit) {
    const AVI_STREAM_INFO& video = edit->base.video_stream;
    const uint64_t s = video.dwRate ? uint64_t(edit->frame_n) * video.dwScale / video.dwRate : 0;
    std::string text;
    if (s >= 60) text = std::to_string(s / 60) + language_string(STR_MINUTES) + ' ';
    return text + std::to_string(s % 60) + language_string(STR_SECONDS);
}

static std::string rate_text(const AVI_STREAM_INFO& video) {
    if (video.dwScale == 0) return {};
    const uint32_t rest = video.dwRate % video.dwScale;
    const auto milli = uint32_t(uint64_t{rest} * 1000 / video.dwScale);
    std::string text = thousandths(video.dwRate / video.dwScale, milli, language_string(STR_UNIT_FPS));
    if (rest == 0) return text;
    return text + " (" + std::to_string(video.dwRate) + '/' + std::to_string(video.dwScale) + ')';
}

static std::string video_text(const EDIT_STATE* edit) {
    const AVI_STREAM_INFO& video = edit->base.video_stream;
    return label(STR_INFO_PICTURE_SIZE) + std::to_string(edit->width) + " x " + std::to_string(edit->height) + '\n' +
           label(STR_INFO_DURATION) + duration_text(edit) + '\n' + label(STR_INFO_FRAME_RATE) + rate_text(video) +
           '\n' + label(STR_INFO_FRAME_COUNT) + std::to_string(edit->frame_n) + '\n' + label(STR_INFO_VIDEO_CODEC) +
           codec_name(video.fccHandler) + '\n';
}

static std::string audio_text(const MEDIA_RECORD& base) {
    const WAVEFORMATEX& format = base.audio_header;
    const std::string name = audio_format_name({base.audio_format, size_t(base.audio_format_size)});
    return '\n' + label(STR_INFO_SAMPLE_RATE) +
           thousandths(format.nSamplesPerSec / 1000, format.nSamplesPerSec % 1000, "kHz") + '\n' +
           label(STR_INFO_CHANNELS) + std::to_string(format.nChannels) + "ch\n" + label(STR_INFO_AUDIO_FORMAT) + name +
           '\n';
}

static const char* picture_format(uint32_t code) {
    if (code == VANTEL_FOURCC('Y', 'U', 'Y', '2')) return "YUY2";
    return code == VANTEL_FOURCC('Y', 'C', '4', '8') ? "YC48" : "RGB";
}

std::string file_information_text(const EDIT_STATE* edit) {
    const MEDIA_RECORD& base = edit->base;
    std::string text;
    if (base.media_flag & MEDIA_HAS_VIDEO) text += video_text(edit);
    if (base.media_flag & MEDIA_HAS_AUDIO) text += audio_text(base);
    const auto* file = static_cast<const INPUT_HANDLE*>(handle_get(base.media_handle));
    text += '\n' + label(STR_INFO_READER) + (file ? input_reader_name(file) : "") + '\n';
    return text + label(STR_INFO_VIDEO_FORMAT) + picture_format(base.video_header.biCompression) + '\n';
}
