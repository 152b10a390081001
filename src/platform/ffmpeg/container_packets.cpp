#include <algorithm>

#include "platform/ffmpeg/container_state.h"

static constexpr size_t READ_ON = 64;        // packets that are rather read than sought past
static constexpr int OVERSHOOT_MAX = 64;     // packets read behind the wanted one before a search gives up
static constexpr size_t SEARCH_MAX = 20000;  // packets of one search
static constexpr size_t STEP_BACK = 8;       // for a parser that must find its place first
static constexpr size_t STEP_BACK_FAR = 64;

/// Whether a packet is the one of the list. Times are not compared: some demuxers make them up after a seek.
static bool is_entry(const AVPacket* packet, const STORED_PACKET& entry) {
    if (uint32_t(packet->size) != entry.size) return false;
    if ((entry.flags & PACKET_HASHED) && packet_hash(packet) != entry.hash) return false;
    if (packet->pos >= 0 && entry.pos >= 0) return packet->pos == entry.pos;
    return true;
}

/// The next packet of the stream behind the filter.
static bool pull(PACKET_READER* reader, AVPacket* packet) {
    AVBSFContext* filter = reader->filter.get();
    for (;;) {
        av_packet_unref(packet);
        if (filter) {
            const int result = av_bsf_receive_packet(filter, packet);
            if (result >= 0) return true;
            if (result == AVERROR_EOF) return false;
        }
        bool got;
        do {
            got = media_file_read(reader->file.get(), packet);
        } while (got && packet->stream_index != reader->stream);
        if (!filter) return got;
        if (!got) av_packet_unref(packet);
        if (av_bsf_send_packet(filter, got ? packet : nullptr) < 0 && !got) return false;
    }
}

/// Goes on reading until the entry `number` comes by. A static film has packets that look alike, so the packets behind
/// it must fit too, which packet_reader_read sees to.
static bool search(PACKET_READER* reader, size_t number) {
    const STORED_PACKET& wanted = (*reader->list)[number];
    int behind = 0;
    for (size_t n = 0; n < SEARCH_MAX && behind < OVERSHOOT_MAX; ++n) {
        if (!pull(reader, reader->pending.get())) return false;
        if (is_entry(reader->pending.get(), wanted)) {
            reader->has_pending = true;
            reader->lost = false;
            reader->next = number;
            return true;
        }
        const int64_t pos = reader->pending->pos;
        if (pos >= 0 && wanted.pos >= 0 ? pos > wanted.pos : reader->pending->dts > wanted.dts) ++behind;
    }
    return false;
}

static bool seek_to(PACKET_READER* reader, int64_t at, int flags, size_t number) {
    reader->has_pending = false;
    reader->seeks++;
    if (reader->filter) av_bsf_flush(reader->filter.get());
    media_file_set_budget(reader->file.get());
    const int stream = flags & AVSEEK_FLAG_BYTE ? -1 : reader->stream;
    return av_seek_frame(reader->file->format, stream, at, flags | AVSEEK_FLAG_BACKWARD) >= 0 && search(reader, number);
}

static bool seek_by_byte(PACKET_READER* reader, size_t number, size_t back) {
    const STORED_PACKET& entry = (*reader->list)[number - std::min(number, back)];
    if (reader->file->format->iformat->flags & AVFMT_NO_BYTE_SEEK || entry.pos < 0) return false;
    return seek_to(reader, entry.pos, AVSEEK_FLAG_BYTE, number);
}

static bool seek_by_time(PACKET_READER* reader, int64_t time, size_t number) {
    return time != AV_NOPTS_VALUE && seek_to(reader, time, 0, number);
}

/// Demuxers without an index of their own.
static bool prefers_bytes(const AVInputFormat* kind) {
    return (kind->flags & (AVFMT_TS_DISCONT | AVFMT_NOTIMESTAMPS | AVFMT_GENERIC_INDEX)) != 0;
}

static bool is_table_of_dts(const AVInputFormat* kind) {
    return av_match_name("mov", kind->name) || av_match_name("avi", kind->name);
}

/// The clock that seeks go by. In lists of sound `pts` is no longer a time.
static int64_t seek_time(const PACKET_READER& reader, size_t number, bool decode_time) {
    const STORED_PACKET& entry = (*reader.list)[number];
    return decode_time || reader.file->format->streams[reader.stream]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO
               ? entry.dts
               : entry.pts;
}

static bool reopen(PACKET_READER* reader) {
    const unsigned streams = reader->file->format->nb_streams;
    reader->seeks++;
    reader->file = media_file_open(reader->path.c_str(), reader->options, false);
    reader->has_pending = false;
    reader->lost = true;
    if (!reader->file || reader->file->format->nb_streams != streams) return false;
    media_file_select(reader->file.get(), reader->stream, -1);
    reader->filter = media_file_filter(media_file_stream(reader->file.get(), reader->stream));
    reader->file->budget = BUDGET_FREE;
    reader->lost = false;
    reader->next = 0;
    return true;
}

static bool read_on_to(PACKET_READER* reader, size_t number) {
    while (reader->next < number)
        if (!packet_reader_read(reader, reader->pending.get())) return false;
    return reader->next == number;
}

static bool seek_fast(PACKET_READER* reader, size_t number) {
    const AVInputFormat* kind = reader->file->format->iformat;
    const bool bytes = prefers_bytes(kind), by_dts = is_table_of_dts(kind);
    if (bytes && (seek_by_byte(reader, number, 0) || seek_by_byte(reader, number, STEP_BACK))) return true;
    if (seek_by_time(reader, seek_time(*reader, number, by_dts), number)) return true;
    if (!by_dts && seek_by_time(reader, seek_time(*reader, number, true), number)) return true;
    const size_t earlier = number - std::min(number, STEP_BACK_FAR);
    return seek_by_time(reader, seek_time(*reader, earlier, true), number);
}

bool packet_reader_go(PACKET_READER* reader, size_t number) {
    if (!reader->file || number >= reader->list->size()) return false;
    if (!reader->lost && reader->next <= number && number - reader->next <= READ_ON && read_on_to(reader, number))
        return true;
    reader->lost = true;
    if (seek_fast(reader, number)) {
        reader->file->budget = BUDGET_FREE;
        return true;
    }
    return reopen(reader) && read_on_to(reader, number);
}

bool packet_reader_read(PACKET_READER* reader, AVPacket* packet) {
    if (reader->lost || !reader->file || reader->next >= reader->list->size()) return false;
    if (reader->has_pending && packet != reader->pending.get()) {
        av_packet_unref(packet);
        av_packet_move_ref(packet, reader->pending.get());
    } else if (!reader->has_pending && !pull(reader, packet)) {
        return false;
    }
    reader->has_pending = false;
    if (!is_entry(packet, (*reader->list)[reader->next])) {
        reader->lost = true;
        return false;
    }
    reader->next++;
    return true;
}
