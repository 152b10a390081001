#include <cstdio>
#include <cstdlib>

#include "demo/clip.h"
#include "platform/text.h"

// make_clip PATH WIDTH HEIGHT FRAMES BITS SAMPLE_RATE: a clip for the scripts of this folder; BITS 0 is YUY2.
int main(int argc, char** argv) {
    if (argc != 7) {
        std::fprintf(stderr, "usage: make_clip path width height frames bits sample_rate\n");
        return 1;
    }
    const auto number = [&](int i) { return std::atoi(argv[i]); };
    const CLIP clip = {number(2), number(3), 30000, 1001, number(4), number(5), number(6), 0};
    return clip_write(clip, text_from_utf8(argv[1])) ? 0 : 1;
}
