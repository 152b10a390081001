#include <algorithm>
#include <cstdlib>
#include <memory>

#include "reader_input.h"
#include "readers/avi_reader.h"

static void require(bool condition) {
    if (!condition) abort();
}

static void frames_read(INPUT_PLUGIN_HANDLE avi, const INPUT_MEDIA_INFO& info) {
    static constexpr size_t SIZES[] = {0, 1, 37, 4096};
    const int32_t last = info.frames - 1;
    for (const int32_t frame : {-1, 0, 1, 2, last / 2, last - 1, last, last + 1, INT32_MAX}) {
        for (const size_t size : SIZES) {
            const std::unique_ptr<uint8_t[]> buffer(new uint8_t[size]);  // of that size to the byte: overruns show
            bool damaged = false;
            const int n = avi_reader_read_video_bounded(avi, frame, buffer.get(), size, &damaged);
            require(n >= 0 && size_t(n) <= size);
        }
        avi_reader_is_keyframe(avi, frame);
    }
}

static void sound_read(INPUT_PLUGIN_HANDLE avi, const INPUT_MEDIA_INFO& info) {
    const int32_t block = info.audio_format->nBlockAlign, samples = info.audio_samples;
    require(block > 0);
    for (const int32_t start : {-1, 0, 1, samples / 3, samples / 2, samples - 1, samples, INT32_MAX}) {
        for (const int32_t count : {-1, 0, 1, 100}) {
            const std::unique_ptr<uint8_t[]> buffer(new uint8_t[size_t(std::max(count, 0) * block)]);
            const int n = avi_reader_read_audio(avi, start, count, buffer.get());
            require(n >= 0 && n <= std::max(count, 0));
        }
        const int32_t position = avi_reader_audio_position(avi, start);
        require(position >= 0 && position <= samples);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* path = reader_input(data, size);
    INPUT_PLUGIN_HANDLE avi = path ? avi_reader_open(path) : nullptr;
    if (!avi) return 0;
    INPUT_MEDIA_INFO info = {};
    avi_reader_info(avi, &info);
    require((info.flags & (INPUT_MEDIA_VIDEO | INPUT_MEDIA_AUDIO)) != 0);
    if (info.flags & INPUT_MEDIA_VIDEO) {
        require(info.frames > 0 && info.rate > 0 && info.scale > 0);
        require(uint64_t(uint32_t(info.frames)) * 8 <= size);  // each entry takes 8 bytes of the file or more
        frames_read(avi, info);
    }
    if (info.flags & INPUT_MEDIA_AUDIO) sound_read(avi, info);
    avi_reader_close(avi);
    return 0;
}
