#include "hosts/shown_pixels.h"

#include <vector>

#include "core/edit_state.h"
#include "core/media.h"
#include "hosts/color.h"
#include "platform/handle.h"

const uint8_t* shown_pixels_copy(EDIT_STATE* edit, uint32_t code) {
    static std::vector<uint8_t> pixels;  // of the largest picture so far
    const auto* image = static_cast<const uint8_t*>(handle_get(edit->shown_image));
    const uint32_t normal = media_code_normal(code);
    const int size = media_picture_size(color_bits(normal), edit->out_width, edit->out_height);
    if (!image || size <= 0) return nullptr;
    if (pixels.size() < size_t(size)) pixels.resize(size_t(size));
    color_from_frame(pixels.data(), image, edit->out_width, edit->out_height, normal);
    return pixels.data();
}
