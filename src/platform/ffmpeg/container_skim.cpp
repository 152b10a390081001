#include <algorithm>
#include <cstring>

#include "platform/ffmpeg/container_state.h"
#include "platform/file.h"

/// Boxes of a file of the MP4 kind: with fragments its tables lie between the packets.
static bool has_fragments(const MEDIA_FILE& file) {
    int64_t at = 0;
    for (int boxes = 0; boxes < 4096 && at + 8 <= file.size; ++boxes) {
        uint8_t head[16];
        if (!file_read_exact(file.file, head, at + 16 <= file.size ? 16 : 8, at)) return true;
        if (std::memcmp(head + 4, "moof", 4) == 0) return true;
        const auto big = [&](int i) {
            return uint64_t{head[i]} << 24 | uint64_t{head[i + 1]} << 16 | uint64_t{head[i + 2]} << 8 | head[i + 3];
        };
        uint64_t size = big(0);
        if (size == 1) size = at + 16 <= file.size ? big(8) << 32 | big(12) : 0;
        if (size == 0) return false;
        if (size < 8 || size > uint64_t(file.size - at)) return true;
        at += int64_t(size);
    }
    return at < file.size;
}

static bool skims(const AVStream* stream) {
    if (!stream) return true;
    switch (stream->codecpar->codec_id) {
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_HEVC:
        case AV_CODEC_ID_AV1:
        case AV_CODEC_ID_VP9:
        case AV_CODEC_ID_PRORES:
        case AV_CODEC_ID_MJPEG:
        case AV_CODEC_ID_AAC:
        case AV_CODEC_ID_ALAC:
        case AV_CODEC_ID_PCM_S16LE:
        case AV_CODEC_ID_PCM_S16BE: return true;
        default: return false;
    }
}

static bool is_complete(const MEDIA_FILE& file, int number, const std::vector<STORED_PACKET>& list) {
    AVStream* stream = media_file_stream(&file, number);
    if (!stream) return number < 0;
    const auto inside = [&](const STORED_PACKET& entry) {
        return entry.pts != AV_NOPTS_VALUE && entry.pos >= 0 && entry.pos <= file.size - int64_t(entry.size);
    };
    return int64_t(list.size()) == avformat_index_get_entries_count(stream) &&
           std::all_of(list.begin(), list.end(), inside);
}

/// MP4 and its kin hold all positions and times in tables: their packets are walked without reading the file. False
/// when that does not work out; index is then as it was.
static bool skim(const MEDIA_FILE& whole, const char* path, const CONTAINER_OPTIONS& options, PACKET_INDEX* index) {
    if (!av_match_name("mov", whole.format->iformat->name) || has_fragments(whole)) return false;
    if (!skims(media_file_stream(&whole, index->picture)) || !skims(media_file_stream(&whole, index->sound)))
        return false;
    const MEDIA_FILE_PTR file = media_file_open(path, options, true);
    if (!file || file->format->nb_streams != whole.format->nb_streams) return false;
    file->skim = true;
    PACKET_INDEX found = *index;
    if (!container_scan_packets(file.get(), options, &found)) return false;
    if (!is_complete(*file, found.picture, found.pictures) || !is_complete(*file, found.sound, found.sounds))
        return false;
    *index = std::move(found);
    return true;
}

bool container_scan(MEDIA_FILE* file, const char* path, const CONTAINER_OPTIONS& options, PACKET_INDEX* index,
                    bool* moved) {
    *moved = !skim(*file, path, options, index);
    return !*moved || container_scan_packets(file, options, index);
}
