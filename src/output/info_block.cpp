#include "output/info_block.h"

#include <cstring>

#include "output/avi_writer.h"

INFO_BLOCK info_block_make(const char* title, const char* comment, const char* copyright) {
    const struct {
        uint32_t code;
        const char* text;
    } rows[] = {{VANTEL_FOURCC('I', 'S', 'B', 'J'), title},
                {VANTEL_FOURCC('I', 'C', 'M', 'T'), comment},
                {VANTEL_FOURCC('I', 'C', 'O', 'P'), copyright}};
    INFO_BLOCK block;
    std::memcpy(block.bytes, "INFO", 4);
    uint8_t* end = block.bytes + 4;
    for (const auto& row : rows)
        if (row.text[0]) end = avi_info_add(end, row.code, row.text);
    block.size = end == block.bytes + 4 ? 0 : size_t(end - block.bytes);
    return block;
}
