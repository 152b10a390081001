#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <memory>
#include <new>

#include "platform/image_codec.h"

/// The most that a byte of packed data can become.
static constexpr uint64_t INFLATE_MAX = 1032;
static constexpr png_alloc_size_t CHUNK_MEMORY_MAX = 1 << 20;

/// One picture being decoded. Nothing in it has a destructor: errors leave by longjmp.
struct PNG_READ {
    png_structp png;
    png_infop info;
    std::span<const uint8_t> file;
    size_t at;                        // next byte of the file
    int32_t file_width, file_height;  // of the file
    int32_t width, height;            // wanted
    uint8_t* bgra;
    uint8_t* whole;  // the rows of the file, top-down, when they are wanted interlaced or in part; else null
    int64_t done;    // rows read, over all passes
};

[[noreturn]] static void error_leave(png_structp png, png_const_charp) { png_longjmp(png, 1); }

static void warning_drop(png_structp, png_const_charp) {}

static void bytes_give(png_structp png, png_bytep out, size_t n) {
    PNG_READ* read = static_cast<PNG_READ*>(png_get_io_ptr(png));
    if (n > read->file.size() - read->at) png_error(png, "end of file");
    std::memcpy(out, read->file.data() + read->at, n);
    read->at += n;
}

static void limits_set(png_structp png) {
    png_set_user_limits(png, uint32_t{IMAGE_SIDE_MAX}, uint32_t{IMAGE_SIDE_MAX});
    png_set_chunk_malloc_max(png, CHUNK_MEMORY_MAX);
    // Of what may stand beside the pixels only tRNS changes them; all else is passed over unread.
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
}

/// Each row takes a byte for its filter; interlaced pictures have more rows, not fewer bytes.
static bool pixels_can_be_there(const PNG_READ& read) {
    const uint64_t row = png_get_rowbytes(read.png, read.info) + 1;
    return row * uint64_t(read.file_height) <= read.file.size() * INFLATE_MAX;
}

static bool header_read(PNG_READ* read) {
    png_set_read_fn(read->png, read, bytes_give);
    limits_set(read->png);
    png_read_info(read->png, read->info);
    const uint32_t w = png_get_image_width(read->png, read->info), h = png_get_image_height(read->png, read->info);
    if (!image_size_allowed(w, h)) return false;
    read->file_width = int32_t(w);
    read->file_height = int32_t(h);
    return pixels_can_be_there(*read);
}

static void bgra_ask(png_structp png) {
    png_set_expand(png);  // palette, grey below 8 bits, tRNS
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_bgr(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
}

/// Where row y of the file goes: a row of the result, or of `whole`.
static uint8_t* target_row(const PNG_READ& read, int32_t y) {
    if (read.whole) return read.whole + size_t(read.file_width) * 4 * size_t(y);
    return image_row(read.bgra, read.width, read.height, y);
}

/// Passes over the picture: with interlace, the later ones fill in between the pixels of the earlier ones.
static bool rows_read(PNG_READ* read) {
    bgra_ask(read->png);
    const int passes = png_set_interlace_handling(read->png);
    png_read_update_info(read->png, read->info);
    if (png_get_rowbytes(read->png, read->info) != size_t(read->file_width) * 4) return false;
    for (int pass = 0; pass < passes; ++pass) {
        const int32_t rows = pass == passes - 1 ? read->height : read->file_height;
        for (int32_t y = 0; y < rows; ++y, ++read->done) png_read_row(read->png, target_row(*read, y), nullptr);
    }
    return true;
}

/// Runs one of the two above. False also when it left by an error.
static bool step_run(PNG_READ* read, bool (*step)(PNG_READ* read)) {
    if (setjmp(png_jmpbuf(read->png))) return false;  // NOLINT(modernize-avoid-setjmp-longjmp): the library's way out
    return step(read);
}

static bool read_start(PNG_READ* read, std::span<const uint8_t> file) {
    *read = {};
    read->file = file;
    read->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, error_leave, warning_drop);
    read->info = read->png ? png_create_info_struct(read->png) : nullptr;
    return read->info && step_run(read, header_read);
}

bool image_png_size(std::span<const uint8_t> file, int32_t* width, int32_t* height) {
    PNG_READ read;
    const bool good = read_start(&read, file);
    *width = good ? read.file_width : 0;
    *height = good ? read.file_height : 0;
    png_destroy_read_struct(&read.png, &read.info, nullptr);
    return good;
}

/// The wanted rows out of `whole`, or, without it, zeros for those that were not reached.
static void rows_finish(const PNG_READ& read) {
    const size_t row = size_t(read.width) * 4;
    for (int32_t y = read.whole ? 0 : int32_t(read.done); y < read.height; ++y) {
        uint8_t* out = image_row(read.bgra, read.width, read.height, y);
        if (read.whole)
            std::memcpy(out, target_row(read, y), row);
        else
            std::memset(out, 0, row);
    }
}

IMAGE_RESULT image_png_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra) {
    PNG_READ read;
    std::unique_ptr<uint8_t[]> whole;
    bool good = read_start(&read, file);
    read.width = width;
    read.height = height;
    read.bgra = bgra;
    if (good && (width != read.file_width || png_get_interlace_type(read.png, read.info) != PNG_INTERLACE_NONE)) {
        whole.reset(new (std::nothrow) uint8_t[size_t(read.file_width) * 4 * size_t(read.file_height)]());
        read.whole = whole.get();
        good = read.whole != nullptr;
    }
    good = good && step_run(&read, rows_read);
    png_destroy_read_struct(&read.png, &read.info, nullptr);
    if (read.done == 0) return IMAGE_FAILED;
    rows_finish(read);
    return good ? IMAGE_WHOLE : IMAGE_DAMAGED;
}
