#include "output/avi_writer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <span>
#include <thread>

#include "output/avi_disk.h"
#include "output/avi_file.h"
#include "output/avi_header.h"
#include "output/avi_list.h"
#include "output/avi_recover.h"
#include "output/avi_sound.h"
#include "output/save_flags.h"
#include "platform/file.h"
#include "readers/codec.h"

static const char MADE_BY[] = "This file was made by Vantel 2.41m7.";
static constexpr std::chrono::milliseconds CREATE_PAUSE(1000);

void avi_writer_set_unit(int kib) { avi_writer_settings.unit_kib = uint32_t(std::clamp(kib, 0, 65536)); }

void avi_writer_set_frame_limit(int frames) {
    avi_writer_settings.frame_limit = uint32_t(std::clamp(frames, 1024, 8388607));
}

static bool converts_sound(uint32_t flags) {
    return (flags & SAVE_AUDIO_COMPRESS) && (flags & (SAVE_AUDIO | SAVE_WAV_FILE));
}

static bool compresses(uint32_t flags) {
    const bool recompress = (flags & SAVE_VIDEO_COPY) && (flags & SAVE_VIDEO_COPY_OR_RECOMPRESS);
    return !(flags & SAVE_WAV_FILE) && ((flags & SAVE_VIDEO_COMPRESS) || recompress);
}

static bool compressor_begin(SAVE_CONTEXT* context) {
    const AVI_STREAM_INFO& stream = context->video_stream;
    return compress_begin(&context->decoder, context->video_header, stream.dwRate, stream.dwScale);
}

/// Opens the compressor's session and the sound conversion that the flags ask for.
static int sessions_open(SAVE_CONTEXT* context, uint32_t flags) {
    if (compresses(flags)) {
        if (!compressor_begin(context)) return AVI_NO_VIDEO_CODEC;
        context->media_flag |= WRITER_COMPRESSOR;
    }
    if (converts_sound(flags) && !avi_sound_open(context)) return AVI_NO_AUDIO_CODEC;
    return AVI_OK;
}

static void sessions_close(SAVE_CONTEXT* context, uint32_t media_flag) {
    if (media_flag & WRITER_COMPRESSOR) compress_end(&context->decoder);
    avi_sound_close(context);
}

static int file_create_patiently(const char* name) {
    int file = avi_disk_create(name);
    if (file >= 0 || file_is_folder(name)) return file;
    std::this_thread::sleep_for(CREATE_PAUSE);  // another save may be about to end
    return avi_disk_create(name);
}

/// Chunks that a frame of the edit may need in the mean: its picture and a group of sound, or packets of sound.
static uint32_t chunks_a_frame(const SAVE_CONTEXT* context, uint32_t flags) {
    const bool packets = (flags & SAVE_AUDIO) && avi_header_audio(context, flags).dwSampleSize == 0;
    return packets ? 8 : 2;
}

static bool writer_start(AVI_WRITER* w, const char* name, uint32_t chunks) {
    w->file = file_create_patiently(name);
    if (w->file < 0) return false;
    w->chunk_capacity = chunks * avi_writer_settings.frame_limit;
    w->chunk_table = page_alloc_bytes(size_t{w->chunk_capacity} * sizeof(uint32_t));
    if (!w->chunk_table) return false;
    const uint32_t unit = avi_writer_settings.unit_kib * 1024;
    if (unit == 0) return true;
    w->ring = avi_ring_start(w->file, 0, unit);
    return w->ring != nullptr;
}

/// Frees everything. False when the file system lost something, or the disk thread hangs, which keeps the file then.
static bool writer_end(AVI_WRITER* w) {
    const bool ended = !w->ring || avi_ring_stop(w->ring);
    const bool closed = ended && (w->file < 0 || avi_disk_close(w->file));
    *w = AVI_WRITER{};
    return closed;
}

static bool put_stream(AVI_WRITER* w, AVI_STREAM_KIND kind, std::span<const uint8_t> format) {
    AVI_WRITER_STREAM& stream = w->stream[kind];
    AVI_OPEN_CHUNK strl;
    avi_list_open(w, &strl, FCC_LIST, FCC_STRL);
    stream.strh_pos = avi_file_position(w) + sizeof(AVI_CHUNK_HEADER);
    avi_chunk_put(w, FCC_STRH, &stream.strh, sizeof(stream.strh));
    avi_chunk_put(w, FCC_STRF, format.data(), uint32_t(format.size()));
    stream.indx_pos = avi_file_position(w);
    const AVI_CHUNK_HEADER room = {FCC_JUNK, AVI_SUPER_ROOM};
    avi_file_put(w, &room, sizeof(room));
    avi_file_put_zeros(w, room.size);
    return avi_chunk_close(w, strl);
}

static bool begin_avi(AVI_WRITER* w, const SAVE_CONTEXT* context, uint32_t flags) {
    const bool audio = flags & SAVE_AUDIO;
    w->stream[AVI_VIDEO].used = true;
    w->stream[AVI_VIDEO].strh = avi_header_video(context, flags);
    w->stream[AVI_AUDIO].used = audio;
    w->avih = avi_header_main(context, audio ? 2 : 1);

    AVI_OPEN_CHUNK hdrl;
    avi_list_open(w, &w->riff, FCC_RIFF, FCC_AVI);
    avi_list_open(w, &hdrl, FCC_LIST, FCC_HDRL);
    w->avih_pos = avi_file_position(w) + sizeof(AVI_CHUNK_HEADER);
    avi_chunk_put(w, FCC_AVIH, &w->avih, sizeof(w->avih));
    put_stream(w, AVI_VIDEO, avi_format_video(context, flags));
    if (audio) put_stream(w, AVI_AUDIO, avi_format_audio(context, flags));
    w->odml_pos = avi_file_position(w);
    const AVI_CHUNK_HEADER room = {FCC_JUNK, AVI_ODML_ROOM};
    avi_file_put(w, &room, sizeof(room));
    avi_file_put_zeros(w, room.size);
    return avi_chunk_close(w, hdrl) && avi_list_begin_data(w, MADE_BY);
}

static bool begin_wav(AVI_WRITER* w, const SAVE_CONTEXT* context, uint32_t flags) {
    const std::span<const uint8_t> format = avi_format_audio(context, flags);
    avi_list_open(w, &w->riff, FCC_RIFF, FCC_WAVE);
    avi_chunk_put(w, FCC_FMT, format.data(), uint32_t(format.size()));
    avi_chunk_open(w, &w->list, FCC_DATA);
    w->movi_data = w->pos;
    return !w->failed;
}

static int open_steps(AVI_WRITER* w, SAVE_CONTEXT* context, const char* name, uint32_t flags) {
    // In one run of bytes nobody finds packets that say nothing of their length. A file of that name stays.
    if ((flags & SAVE_WAV_FILE) && converts_sound(flags) && avi_sound_by_packets(context)) return AVI_NO_AUDIO_CODEC;
    if (!writer_start(w, name, chunks_a_frame(context, flags))) return AVI_NO_FILE;
    if (const int result = sessions_open(context, flags); result != AVI_OK) return result;
    if (flags & (SAVE_WAV_FILE | SAVE_AUDIO)) w->stream[AVI_AUDIO].strh = avi_header_audio(context, flags);
    const bool begun = flags & SAVE_WAV_FILE ? begin_wav(w, context, flags) : begin_avi(w, context, flags);
    // Flushed, so that headers without room are a failure of the opening, and recovery may rely on them.
    return begun && avi_file_flush(w) ? AVI_OK : AVI_NO_FILE;
}

int avi_open(SAVE_CONTEXT* context, const char* name, uint32_t flags, const void* info, size_t info_size) {
    AVI_WRITER* w = &avi_writer;
    if (w->file >= 0 || info_size > AVI_INFO_MAX || !(flags & (SAVE_VIDEO | SAVE_WAV_FILE))) return AVI_NO_FILE;
    *w = AVI_WRITER{};
    context->media_flag = 0;
    if (info_size != 0) memcpy(w->info, info, info_size);
    w->info_size = info_size;
    const int result = open_steps(w, context, name, flags);
    if (result != AVI_OK) {
        sessions_close(context, context->media_flag);
        context->media_flag = 0;
        writer_end(w);
        return result;
    }
    context->media_flag |= flags & SAVE_WAV_FILE ? WRITER_WAV | WRITER_AUDIO : WRITER_AVI | WRITER_VIDEO;
    if (flags & SAVE_AUDIO) context->media_flag |= WRITER_AUDIO;
    if (converts_sound(flags)) context->media_flag |= WRITER_CONVERTER;
    return AVI_OK;
}

/// The counts may outgrow their fields, which then stay at the largest value.
static uint32_t field_of(uint64_t count) { return uint32_t(std::min<uint64_t>(count, UINT32_MAX)); }

static void put_odml(AVI_WRITER* w) {
    const uint32_t odml[] = {FCC_LIST, AVI_ODML_ROOM, FCC_ODML,
                             FCC_DMLH, AVI_DMLH_SIZE, field_of(w->stream[AVI_VIDEO].total_units)};
    avi_file_patch(w, w->odml_pos, odml, sizeof(odml));
}

static void put_headers_again(AVI_WRITER* w) {
    w->avih.dwTotalFrames = field_of(w->stream[AVI_VIDEO].total_units);
    avi_file_patch(w, w->avih_pos, &w->avih, sizeof(w->avih));
    for (AVI_WRITER_STREAM& stream : w->stream) {
        if (!stream.used) continue;
        stream.strh.dwLength = field_of(stream.total_units);
        stream.strh.dwSuggestedBufferSize = stream.max_chunk;
        avi_file_patch(w, stream.strh_pos, &stream.strh, sizeof(stream.strh));
    }
    if (w->odml_pos != 0) put_odml(w);
}

static void close_avi(AVI_WRITER* w) {
    if (w->riff_part == 0) w->odml_pos = 0;
    if (!avi_list_finish(w)) {
        w->lost = true;
        avi_recover(w);
        if (avi_list_finish(w)) w->failed = !avi_recover_cut(w);
    }
    put_headers_again(w);
}

static bool close_wav_chunks(AVI_WRITER* w) { return avi_chunk_close(w, w->list) && avi_chunk_close(w, w->riff); }

static void close_wav(AVI_WRITER* w) {
    if (close_wav_chunks(w)) return;
    w->lost = true;
    avi_recover_wav(w);
    if (close_wav_chunks(w)) w->failed = !avi_recover_cut(w);
}

int avi_close(SAVE_CONTEXT* context) {
    AVI_WRITER* w = &avi_writer;
    const uint32_t state = context->media_flag;
    context->media_flag = 0;
    if (w->file < 0) return 1;
    if (state & WRITER_WAV) {
        close_wav(w);
    } else {
        close_avi(w);
    }
    sessions_close(context, state);
    const bool complete = avi_file_flush(w) && !w->lost;
    return writer_end(w) && complete;
}

/// Notes a refusal, so that avi_close tells of it.
static int put_result(AVI_WRITER* w, bool stored) {
    if (!stored) w->lost = true;
    return stored ? AVI_OK : AVI_LOST;
}

int avi_put_frame(SAVE_CONTEXT* context, const void* pixels, uint32_t* out_size) {
    if (!(context->media_flag & WRITER_VIDEO)) return AVI_OK;
    const void* bytes = pixels;
    uint32_t size = context->video_header.biSizeImage, flags = AVIIF_KEYFRAME;
    if (context->media_flag & WRITER_COMPRESSOR) {
        bytes = compress_frame(&context->decoder, static_cast<const uint8_t*>(pixels), &flags, &size);
        if (!bytes) {
            avi_writer.lost = true;
            return AVI_NO_VIDEO_CODEC;
        }
    }
    if (out_size) *out_size = size;
    return avi_put_stored_frame(context, bytes, size, flags);
}

int avi_put_stored_frame(SAVE_CONTEXT* context, const void* bytes, size_t size, uint32_t flags) {
    if (!(context->media_flag & WRITER_VIDEO)) return AVI_OK;
    const bool key = flags & AVIIF_KEYFRAME;
    return put_result(&avi_writer, avi_list_put_chunk(&avi_writer, AVI_VIDEO, bytes, size, key));
}

static bool put_wav(AVI_WRITER* w, const void* bytes, size_t size) {
    // Keeps both size fields within 32 bits; pos itself never passes UINT32_MAX here.
    if (size > UINT32_MAX - w->pos) return false;
    w->stream[AVI_AUDIO].part_units += size;
    return avi_file_put(w, bytes, size);
}

int avi_put_stored_audio(SAVE_CONTEXT* context, const void* bytes, size_t size) {
    if (!(context->media_flag & WRITER_AUDIO) || size == 0) return AVI_OK;
    AVI_WRITER* w = &avi_writer;
    if (context->media_flag & WRITER_WAV) return put_result(w, put_wav(w, bytes, size));
    return put_result(w, avi_list_put_chunk(w, AVI_AUDIO, bytes, size, true));
}

int avi_put_audio(SAVE_CONTEXT* context, const void* bytes, size_t size) {
    if (!(context->media_flag & WRITER_AUDIO)) return AVI_OK;
    if (!(context->media_flag & WRITER_CONVERTER)) return avi_put_stored_audio(context, bytes, size);
    const int result = avi_sound_put(context, bytes, size);
    if (result != AVI_OK) avi_writer.lost = true;
    return result;
}

int avi_restart_compressor(SAVE_CONTEXT* context, const VIDEO_CODEC_SETTING* setting) {
    if (!(context->media_flag & WRITER_COMPRESSOR)) return AVI_OK;
    compress_end(&context->decoder);
    memmove(&context->decoder, setting, sizeof *setting);  // it may be that very one
    if (compressor_begin(context)) return AVI_OK;
    context->media_flag &= ~uint32_t{WRITER_COMPRESSOR};
    avi_writer.lost = true;
    return AVI_NO_VIDEO_CODEC;
}

uint8_t* avi_info_add(uint8_t* target, uint32_t code, const char* text) {
    const size_t length = strlen(text);
    const AVI_CHUNK_HEADER header = {code, uint32_t((length + 4) / 4 * 4)};
    memcpy(target, &header, sizeof(header));
    target += sizeof(header);
    memset(target, 0, header.size);
    memcpy(target, text, length + 1);
    return target + header.size;
}

int64_t avi_data_rate(const SAVE_CONTEXT* context) {
    const AVI_WRITER* w = &avi_writer;
    const AVI_WRITER_STREAM& video = w->stream[AVI_VIDEO];
    const uint64_t frames = video.total_units + video.part_units;
    const AVI_STREAM_INFO& rate = context->video_stream;
    if (!(context->media_flag & WRITER_VIDEO) || frames == 0 || rate.dwScale == 0) return 0;
    const double bits = double(avi_file_position(w)) * rate.dwRate / rate.dwScale / double(frames) * 8;
    return int64_t(std::min(bits, 9e18));
}
