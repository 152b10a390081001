#include <algorithm>
#include <csetjmp>
#include <cstdio>  // jpeglib.h needs it, and does not say so
#include <cstring>
#include <memory>
#include <new>

#include <jpeglib.h>

#include <jerror.h>

#include "platform/image_codec.h"

/// A block of 64 samples takes a bit at least in the scan that brings its mean, so a byte never stands for more pixels.
static constexpr int64_t PIXELS_A_BYTE = 64 * 8;
/// Each scan of a progressive picture goes over all of it, however little it brings; encoders make some ten.
static constexpr int SCAN_MAX = 100;
/// Coefficients of the largest picture that is allowed, with some room for tables.
static constexpr long MEMORY_MAX = 2'000'000'000;

/// One picture being decoded. Nothing in it has a destructor: errors leave by longjmp.
struct JPEG_READ {
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr errors;
    jpeg_progress_mgr progress;
    jmp_buf back;
    std::span<const uint8_t> file;
    int32_t width, height;  // wanted
    uint8_t* bgra;
    uint8_t* row;  // one of the file's own width, 4 bytes a pixel
    int32_t done;  // rows written
    bool damaged;
};

static JPEG_READ* read_of(j_common_ptr cinfo) { return static_cast<JPEG_READ*>(cinfo->client_data); }

[[noreturn]] static void error_leave(j_common_ptr cinfo) { longjmp(read_of(cinfo)->back, 1); }

static void message_note(j_common_ptr cinfo, int level) {
    if (level >= 0) return;
    const int code = cinfo->err->msg_code;
    if (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE) read_of(cinfo)->damaged = true;
}

static void message_drop(j_common_ptr) {}

static void scans_count(j_common_ptr cinfo) {
    if (reinterpret_cast<j_decompress_ptr>(cinfo)->input_scan_number > SCAN_MAX) error_leave(cinfo);
}

static bool header_read(JPEG_READ* read) {
    jpeg_decompress_struct& cinfo = read->cinfo;
    jpeg_create_decompress(&cinfo);
    cinfo.mem->max_memory_to_use = MEMORY_MAX;
    cinfo.progress = &read->progress;
    jpeg_mem_src(&cinfo, read->file.data(), static_cast<unsigned long>(read->file.size()));
    if (jpeg_read_header(&cinfo, TRUE) != JPEG_HEADER_OK) return false;
    return image_size_allowed(cinfo.image_width, cinfo.image_height) &&
           int64_t{cinfo.image_width} * cinfo.image_height <= int64_t(read->file.size()) * PIXELS_A_BYTE;
}

/// Four inks, `inverted` meaning 255 for none, to B, G, R, A in place.
static void cmyk_row_to_bgra(uint8_t* row, int32_t width, bool inverted) {
    const uint8_t flip = inverted ? 0 : 255;
    for (int32_t i = 0; i < width; ++i, row += 4) {
        const int c = row[0] ^ flip, m = row[1] ^ flip, y = row[2] ^ flip, k = row[3] ^ flip;
        row[0] = uint8_t((y * k + 127) / 255);
        row[1] = uint8_t((m * k + 127) / 255);
        row[2] = uint8_t((c * k + 127) / 255);
        row[3] = 255;
    }
}

static bool rows_read(JPEG_READ* read) {
    jpeg_decompress_struct& cinfo = read->cinfo;
    const bool inks = cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK;
    cinfo.out_color_space = inks ? JCS_CMYK : JCS_EXT_BGRA;
    jpeg_start_decompress(&cinfo);
    for (; read->done < read->height; ++read->done) {
        jpeg_read_scanlines(&cinfo, &read->row, 1);
        if (inks) cmyk_row_to_bgra(read->row, read->width, cinfo.saw_Adobe_marker != 0);
        std::memcpy(image_row(read->bgra, read->width, read->height, read->done), read->row, size_t(read->width) * 4);
    }
    return true;
}

/// Runs one of the two above. False also when it left by an error.
static bool step_run(JPEG_READ* read, bool (*step)(JPEG_READ* read)) {
    if (setjmp(read->back)) return false;  // NOLINT(modernize-avoid-setjmp-longjmp): the library's way out
    return step(read);
}

static bool read_start(JPEG_READ* read, std::span<const uint8_t> file) {
    read->cinfo.err = jpeg_std_error(&read->errors);
    read->cinfo.client_data = read;
    read->errors.error_exit = error_leave;
    read->errors.emit_message = message_note;
    read->errors.output_message = message_drop;
    read->progress.progress_monitor = scans_count;
    read->file = file;
    return step_run(read, header_read);
}

bool image_jpeg_size(std::span<const uint8_t> file, int32_t* width, int32_t* height) {
    JPEG_READ read = {};
    const bool good = read_start(&read, file);
    *width = good ? int32_t(read.cinfo.image_width) : 0;
    *height = good ? int32_t(read.cinfo.image_height) : 0;
    jpeg_destroy_decompress(&read.cinfo);
    return good;
}

IMAGE_RESULT image_jpeg_read(std::span<const uint8_t> file, int32_t width, int32_t height, uint8_t* bgra) {
    JPEG_READ read = {};
    bool good = read_start(&read, file);
    const std::unique_ptr<uint8_t[]> row(good ? new (std::nothrow) uint8_t[size_t(read.cinfo.image_width) * 4]
                                              : nullptr);
    read.width = width;
    read.height = height;
    read.bgra = bgra;
    read.row = row.get();
    good = row && step_run(&read, rows_read);
    jpeg_destroy_decompress(&read.cinfo);
    if (read.done == 0) return IMAGE_FAILED;
    for (int32_t y = read.done; y < height; ++y) std::memset(image_row(bgra, width, height, y), 0, size_t(width) * 4);
    return good && !read.damaged ? IMAGE_WHOLE : IMAGE_DAMAGED;
}
