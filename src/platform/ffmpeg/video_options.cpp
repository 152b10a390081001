#include "platform/ffmpeg/video_options.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/dict.h>
}

static constexpr int STATE_VERSION = 1;
static constexpr const char* SUBSAMPLING = "subsampling";

struct OPTION_ROW {
    const char* encoder;
    VIDEO_CODEC_OPTION option;
};

static const std::vector<OPTION_ROW>& option_rows() {
    static const std::vector<OPTION_ROW> rows = {
        {"huffyuv", {"pred", "prediction", {"left", "plane", "median"}}},
        {"ffvhuff", {"pred", "prediction", {"left", "plane", "median"}}},
        {"ffv1", {"coder", "coder", {"range_def", "rice"}}},
        {"ffv1", {"context", "context model", {"0", "1"}}},
        {"ffv1", {"slices", "slices", {"4", "9", "16", "24"}}},
        {"utvideo", {"pred", "prediction", {"left", "median", "none"}}},
        {"magicyuv", {"pred", "prediction", {"left", "gradient", "median"}}},
        {"png", {"pred", "prediction", {"none", "sub", "up", "avg", "paeth", "mixed"}}},
        {"mjpeg", {SUBSAMPLING, "chroma", {"4:2:2", "4:2:0", "4:4:4"}}},
        {"mjpeg", {"huffman", "Huffman tables", {"optimal", "default"}}},
        {"mpeg4", {"mbd", "macroblock decision", {"simple", "bits", "rd"}}},
        {"libx264",
         {"preset", "preset", {"veryfast", "ultrafast", "superfast", "faster", "fast", "medium", "slow", "slower"}}},
        {"libx264", {SUBSAMPLING, "chroma", {"4:2:0", "4:2:2", "4:4:4"}}},
        {"libvpx", {"cpu-used", "speed", {"8", "0", "4", "12", "16"}}},
    };
    return rows;
}

std::vector<VIDEO_CODEC_OPTION> video_codec_options(uint32_t handler) {
    std::vector<VIDEO_CODEC_OPTION> options;
    const VIDEO_ROW* row = video_row(handler);
    for (const OPTION_ROW& r : option_rows())
        if (row && std::strcmp(r.encoder, row->encoder) == 0) options.push_back(r.option);
    return options;
}

VIDEO_OPTION_VALUES video_options_default(const VIDEO_ROW& row) {
    VIDEO_OPTION_VALUES values;
    for (const VIDEO_CODEC_OPTION& option : video_codec_options(video_handler(row)))
        values[option.key] = option.values.front();
    return values;
}

static std::string head_line(const VIDEO_ROW& row) {
    return "vantel codec " + std::to_string(STATE_VERSION) + " " + row.handler;
}

std::string video_options_text(const VIDEO_ROW& row, const VIDEO_OPTION_VALUES& values) {
    std::string text = head_line(row) + "\n";
    for (const auto& [key, value] : values) text += key + "=" + value + "\n";
    return text;
}

static void take_line(std::string_view line, const std::vector<VIDEO_CODEC_OPTION>& options,
                      VIDEO_OPTION_VALUES* values) {
    const size_t equals = line.find('=');
    if (equals == line.npos) return;
    const std::string_view key = line.substr(0, equals), value = line.substr(equals + 1);
    for (const VIDEO_CODEC_OPTION& option : options) {
        const bool allowed = std::find(option.values.begin(), option.values.end(), value) != option.values.end();
        if (key == option.key && allowed) (*values)[option.key] = value;
    }
}

bool video_options_parse(const VIDEO_ROW& row, std::string_view text, VIDEO_OPTION_VALUES* values) {
    text = text.substr(0, text.find('\0'));
    const std::string head = head_line(row);
    const bool fits = text.starts_with(head) && (text.size() == head.size() || text[head.size()] == '\n');
    if (!text.empty() && !fits) return false;
    *values = video_options_default(row);
    const auto options = video_codec_options(video_handler(row));
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        take_line(text.substr(0, end), options, values);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

AVPixelFormat video_options_format(const VIDEO_OPTION_VALUES& values, AVPixelFormat format) {
    struct CHOICE {
        AVPixelFormat format;
        const char* subsampling;
        AVPixelFormat chosen;
    };
    static constexpr CHOICE CHOICES[] = {{AV_PIX_FMT_YUV420P, "4:2:2", AV_PIX_FMT_YUV422P},
                                         {AV_PIX_FMT_YUV420P, "4:4:4", AV_PIX_FMT_YUV444P},
                                         {AV_PIX_FMT_YUVJ422P, "4:2:0", AV_PIX_FMT_YUVJ420P},
                                         {AV_PIX_FMT_YUVJ422P, "4:4:4", AV_PIX_FMT_YUVJ444P}};
    const auto asked = values.find(SUBSAMPLING);
    if (asked == values.end()) return format;
    for (const CHOICE& choice : CHOICES)
        if (choice.format == format && asked->second == choice.subsampling) return choice.chosen;
    return format;
}

// The median needs planes of their own.
static bool fits(const std::string& key, const std::string& value, AVPixelFormat format) {
    return !(key == "pred" && value == "median" && format == AV_PIX_FMT_RGB24);
}

void video_options_apply(const VIDEO_OPTION_VALUES& values, AVPixelFormat format, AVDictionary** dictionary) {
    for (const auto& [key, value] : values)
        if (key != SUBSAMPLING && fits(key, value, format)) av_dict_set(dictionary, key.c_str(), value.c_str(), 0);
}
