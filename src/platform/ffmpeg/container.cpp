#include "platform/container.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "platform/ffmpeg/container_state.h"

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
}

static constexpr double LEAD_SECONDS = 0.25;  // sound that leads the picture by this is kept

// ---- streams

static int picture_stream(const MEDIA_FILE& file) {
    const int n = av_find_best_stream(file.format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const AVStream* stream = media_file_stream(&file, n);
    // A cover of a sound file is no film.
    return stream && !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC) ? n : -1;
}

static int sound_stream(const MEDIA_FILE& file, int picture) {
    return std::max(av_find_best_stream(file.format, AVMEDIA_TYPE_AUDIO, -1, picture, nullptr, 0), -1);
}

static bool streams_choose(CONTAINER* c, const MEDIA_FILE& file) {
    c->index.picture = picture_stream(file);
    c->index.sound = sound_stream(file, c->index.picture);
    const AVStream* sound = media_file_stream(&file, c->index.sound);
    if (sound && !sound_open(&c->sound, sound)) c->index.sound = -1;
    if (const AVStream* picture = media_file_stream(&file, c->index.picture))
        c->index.picture_codec = picture->codecpar->codec_id;
    if (c->index.sound >= 0) c->index.sound_codec = sound->codecpar->codec_id;
    return c->index.picture >= 0 || c->index.sound >= 0;
}

/// *moved: the file has been read to its end.
static bool index_make(CONTAINER* c, const char* path, MEDIA_FILE* file, bool* moved) {
    if (container_cache_load(c->options.index_folder, path, file, &c->index)) return true;
    if (!container_scan(file, path, c->options, &c->index, moved)) return false;
    container_cache_save(c->options.index_folder, path, file, c->index);
    return true;
}

// ---- the two sides

static void reader_set(PACKET_READER* reader, const CONTAINER& c, const char* path, int stream,
                       const std::vector<STORED_PACKET>& list) {
    reader->list = &list;
    reader->path = path;
    reader->options = c.options;
    reader->stream = stream;
    reader->pending.reset(av_packet_alloc());
}

/// Gives a file to a reader. fresh: nothing has been read of it.
static bool reader_start(PACKET_READER* reader, MEDIA_FILE_PTR file, bool fresh) {
    if (!file || !media_file_stream(file.get(), reader->stream) || !reader->pending) return false;
    media_file_select(file.get(), reader->stream, -1);
    file->budget = BUDGET_FREE;
    reader->filter = media_file_filter(media_file_stream(file.get(), reader->stream));
    reader->file = std::move(file);
    reader->lost = !fresh;
    return true;
}

static bool too_large(const CONTAINER& c) {
    const CONTAINER_INFO& info = c.info;
    return info.width > c.options.max_width || info.height > c.options.max_height;
}

static void set_size(CONTAINER* c, int width, int height) {
    PICTURE_SIDE& side = c->picture;
    side.width = width;
    side.height = height;
    c->info.width = side.turn & TURN_SWAP ? height : width;
    c->info.height = side.turn & TURN_SWAP ? width : height;
}

/// The first picture settles size and form: what the container says of them may be wrong.
static bool first_picture(CONTAINER* c, const AVStream* stream) {
    PICTURE_SIDE& side = c->picture;
    if (!picture_open(&side, stream, c->options) || !picture_decode(&side, 0)) return false;
    set_size(c, side.now->width, side.now->height);
    side.is_rgb = c->info.is_rgb = picture_format_is_rgb(AVPixelFormat(side.now->format));
    return true;
}

static bool picture_side_open(CONTAINER* c, MEDIA_FILE_PTR* file, bool fresh) {
    AVStream* stream = media_file_stream(file->get(), c->index.picture);
    if (!stream) return false;
    const AVCodecParameters* parameters = stream->codecpar;
    PICTURE_SIDE& side = c->picture;
    const AVRational guessed = av_guess_frame_rate((*file)->format, stream, nullptr);
    const bool breaks = media_file_breaks(file->get());
    if (!timeline_make(&c->index.pictures, stream, guessed, breaks, &side.timeline)) return false;
    side.turn = picture_turn_of(stream);
    set_size(c, parameters->width, parameters->height);
    if (!too_large(*c) || c->info.width < 1) {
        if (!reader_start(&side.reader, std::move(*file), fresh) || !first_picture(c, stream)) return false;
    }
    c->info.has_picture = true;
    c->info.rate = side.timeline.rate;
    c->info.scale = side.timeline.scale;
    return c->info.width > 0 && c->info.height > 0;
}

/// Where sample 0 lies: at the first picture, or as many whole pictures earlier as sound in front of it fills.
static void align(CONTAINER* c, const SOUND_RANGE& sound) {
    TIMELINE& t = c->picture.timeline;
    const double seconds = double(t.shown.front().pts) * av_q2d(t.tick);
    const double picture = seconds * c->sound.rate, ahead = (picture - double(sound.begin)) / c->sound.rate;
    if (sound.end > sound.begin && ahead >= LEAD_SECONDS && ahead < 3600) {
        // Pictures in front: the fraction of one that is left of the sound is cut off.
        t.lead = int64_t(std::floor(ahead * t.rate / t.scale + 1e-6));
    }
    const double lead = double(t.lead) * t.scale / t.rate * c->sound.rate;
    c->sound.origin = int64_t(std::clamp(std::round(picture - lead), -1e18, 1e18));
}

static void sound_side_open(CONTAINER* c, MEDIA_FILE_PTR file, bool fresh) {
    if (c->index.sounds.empty()) return;
    const SOUND_RANGE range = sound_range(c->index);
    if (c->info.has_picture)
        align(c, range);
    else
        c->sound.origin = range.begin;
    const int64_t samples = range.end - c->sound.origin;
    if (range.end <= range.begin || samples <= 0) return;
    c->sound.hidden = c->index.hidden;
    if (!reader_start(&c->sound.reader, std::move(file), fresh)) return;
    c->info.has_sound = true;
    c->info.sound_rate = c->sound.rate;
    c->info.channels = c->sound.channels;
    c->info.samples = samples;
}

/// The pictures' file is the one that was listed; the sound has one of its own, so that neither moves the other's
/// place. A file that was read to its end serves as well, after a seek.
static bool sides_open(CONTAINER* c, const char* path, MEDIA_FILE_PTR file, bool fresh) {
    const AVStream* stream = media_file_stream(file.get(), c->index.picture);
    if (stream && !fresh && stream->codecpar->format == AV_PIX_FMT_PAL8) {
        file = media_file_open(path, c->options, false);  // the palette comes with the first packet only once
        fresh = true;
        if (!file) return false;
    }
    reader_set(&c->picture.reader, *c, path, c->index.picture, c->index.pictures);
    reader_set(&c->sound.reader, *c, path, c->index.sound, c->index.sounds);
    if (!c->index.pictures.empty()) c->info.has_picture = picture_side_open(c, &file, fresh);
    if (!c->info.has_picture) c->picture = PICTURE_SIDE();
    if (c->index.sounds.empty()) return c->info.has_picture;
    MEDIA_FILE_PTR own = file ? std::move(file) : media_file_open(path, c->options, false);
    sound_side_open(c, std::move(own), !c->picture.reader.file ? fresh : true);
    c->info.frames = c->info.has_picture ? c->picture.timeline.frames + c->picture.timeline.lead : 0;
    return c->info.has_picture || c->info.has_sound;
}

static bool open_steps(CONTAINER* c, const char* path) {
    MEDIA_FILE_PTR file = media_file_open(path, c->options, false);
    if (!file || !streams_choose(c, *file)) return false;
    bool moved = false;
    if (!index_make(c, path, file.get(), &moved)) return false;
    if (!sides_open(c, path, std::move(file), !moved)) return false;
    if (c->info.has_picture) c->info.frames = c->picture.timeline.frames + c->picture.timeline.lead;
    c->picture.reader.seeks = 0;
    return true;
}

// ---- the interface

CONTAINER_PTR container_open(const char* path, const CONTAINER_OPTIONS& options) {
    av_log_set_level(AV_LOG_QUIET);
    try {
        CONTAINER_PTR c(new CONTAINER);
        c->options = options;
        return open_steps(c.get(), path) ? std::move(c) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void CONTAINER_CLOSE::operator()(CONTAINER* container) const { delete container; }

const CONTAINER_INFO& container_info(const CONTAINER* container) { return container->info; }

size_t container_picture_size(const CONTAINER* container) {
    const CONTAINER_INFO& info = container->info;
    const size_t width = size_t(info.width), height = size_t(info.height);
    return info.is_rgb ? (width * 3 + 3) / 4 * 4 * height : (width + 1) / 2 * 4 * height;
}

bool container_read_picture(CONTAINER* container, int64_t frame, uint8_t* out) {
    PICTURE_SIDE& side = container->picture;
    if (!container->info.has_picture || !side.codec) return false;
    try {
        frame = std::clamp<int64_t>(frame, 0, container->info.frames - 1);
        return picture_decode(&side, timeline_place(side.timeline, frame)) && picture_convert(&side, out);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

int64_t container_read_sound(CONTAINER* container, int64_t start, int64_t count, int16_t* out) {
    const CONTAINER_INFO& info = container->info;
    if (!info.has_sound || start < 0 || start >= info.samples || count <= 0) return 0;
    try {
        return sound_read(&container->sound, start, std::min(count, info.samples - start), out);
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int container_seeks(const CONTAINER* container) { return container->picture.reader.seeks; }
