#include "platform/glyph.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <unordered_map>
#include FT_FREETYPE_H
#include FT_SYNTHESIS_H

#include "platform/text.h"

static constexpr size_t FONT_SET_MAX = 8;                // fonts kept open, the one used longest ago goes
static constexpr size_t COVERAGE_MAX = size_t{8} << 20;  // bytes of shapes kept for a font

struct FT_LIBRARY_FREE {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct FT_FACE_FREE {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};
struct FC_CONFIG_FREE {
    void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
struct FC_SET_FREE {
    void operator()(FcFontSet* set) const { FcFontSetDestroy(set); }
};
struct FC_PATTERN_FREE {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using FT_FACE_PTR = std::unique_ptr<FT_FaceRec_, FT_FACE_FREE>;

/// The fonts that serve a TEXT_FONT, best first, and the shapes made of them so far.
struct FONT_SET {
    TEXT_FONT font;
    std::unique_ptr<FcFontSet, FC_SET_FREE> sorted;
    std::vector<FT_FACE_PTR> faces;  // one for each of `sorted`, null until needed
    GLYPH_METRICS metrics;
    std::unordered_map<char32_t, GLYPH> glyphs;
    size_t coverage_size;
};

/// In order of destruction, the libraries last. The configuration is our own: the window system has another one.
struct GLYPH_STATE {
    std::unique_ptr<FcConfig, FC_CONFIG_FREE> config;
    std::unique_ptr<FT_LibraryRec_, FT_LIBRARY_FREE> library;
    std::vector<std::unique_ptr<FONT_SET>> sets;  // the one used last is the last
};

static GLYPH_STATE state;

static bool libraries_open() {
    if (!state.config) state.config.reset(FcInitLoadConfigAndFonts());
    FT_Library library = nullptr;
    if (!state.library && FT_Init_FreeType(&library) == 0) state.library.reset(library);
    return state.config && state.library;
}

static std::unique_ptr<FcFontSet, FC_SET_FREE> fonts_sort(const TEXT_FONT& font) {
    const std::unique_ptr<FcPattern, FC_PATTERN_FREE> pattern(FcPatternCreate());
    if (!pattern) return nullptr;
    const auto text = [](const char* s) { return reinterpret_cast<const FcChar8*>(s); };
    if (!font.name.empty()) FcPatternAddString(pattern.get(), FC_FAMILY, text(text_to_utf8(font.name).c_str()));
    FcPatternAddString(pattern.get(), FC_FAMILY, text("sans-serif"));
    FcPatternAddString(pattern.get(), FC_LANG, text("ja"));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, FcWeightFromOpenType(std::clamp(font.weight, 1, 1000)));
    FcPatternAddInteger(pattern.get(), FC_SLANT, font.italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(state.config.get(), pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultMatch;
    return std::unique_ptr<FcFontSet, FC_SET_FREE>(
        FcFontSort(state.config.get(), pattern.get(), FcTrue, nullptr, &result));
}

static bool face_size(FT_Face face, int height) {
    const int wanted = std::clamp(height == 0 ? 16 : height, -1000, 1000);
    FT_Size_RequestRec request = {};
    request.type = wanted > 0 ? FT_SIZE_REQUEST_TYPE_CELL : FT_SIZE_REQUEST_TYPE_NOMINAL;
    request.height = FT_Long{std::abs(wanted)} * 64;
    return FT_Request_Size(face, &request) == 0;
}

/// Font i of the set, opened when it is needed first. Null when it cannot be read.
static FT_Face face_get(FONT_SET* set, size_t i) {
    if (set->faces[i]) return set->faces[i].get();
    FcChar8* path = nullptr;
    int index = 0;
    if (FcPatternGetString(set->sorted->fonts[i], FC_FILE, 0, &path) != FcResultMatch) return nullptr;
    FcPatternGetInteger(set->sorted->fonts[i], FC_INDEX, 0, &index);
    FT_Face face = nullptr;
    if (FT_New_Face(state.library.get(), reinterpret_cast<const char*>(path), index, &face) != 0) return nullptr;
    FT_FACE_PTR owner(face);
    if (!face_size(face, set->font.height)) return nullptr;
    set->faces[i] = std::move(owner);
    return face;
}

static FT_Face first_face(FONT_SET* set) {
    for (size_t i = 0; i < set->faces.size(); ++i)
        if (FT_Face face = face_get(set, i)) return face;
    return nullptr;
}

static std::unique_ptr<FONT_SET> set_open(const TEXT_FONT& font) {
    if (!libraries_open()) return nullptr;
    auto set = std::make_unique<FONT_SET>();
    set->font = font;
    set->sorted = fonts_sort(font);
    if (!set->sorted) return nullptr;
    set->faces.resize(size_t(set->sorted->nfont));
    const FT_Face face = first_face(set.get());
    if (!face) return nullptr;
    const FT_Size_Metrics& size = face->size->metrics;
    set->metrics.ascent = int((size.ascender + 63) >> 6);
    set->metrics.height = set->metrics.ascent + int((63 - size.descender) >> 6);
    if (font.height > 0) set->metrics.height = std::min(font.height, 1000);
    return set;
}

static FONT_SET* set_get(const TEXT_FONT& font) {
    auto& sets = state.sets;
    const auto found = std::find_if(sets.begin(), sets.end(), [&](const auto& set) { return set->font == font; });
    if (found != sets.end()) {
        std::rotate(found, found + 1, sets.end());
        return sets.back().get();
    }
    std::unique_ptr<FONT_SET> set = set_open(font);
    if (!set) return nullptr;
    if (sets.size() == FONT_SET_MAX) sets.erase(sets.begin());
    sets.push_back(std::move(set));
    return sets.back().get();
}

/// The face that has the character, and its number there; the first face and 0 when none has it.
struct FACE_CHARACTER {
    FT_Face face;
    FT_UInt index;
};
static FACE_CHARACTER character_find(FONT_SET* set, char32_t character) {
    for (size_t i = 0; i < set->faces.size(); ++i) {
        FcCharSet* characters = nullptr;
        FcPatternGetCharSet(set->sorted->fonts[i], FC_CHARSET, 0, &characters);
        if (!characters || !FcCharSetHasChar(characters, character)) continue;
        const FT_Face face = face_get(set, i);
        const FT_UInt index = face ? FT_Get_Char_Index(face, character) : 0;
        if (index != 0) return {face, index};
    }
    return {first_face(set), 0};
}

static bool shape_render(const TEXT_FONT& font, FACE_CHARACTER character) {
    if (FT_Load_Glyph(character.face, character.index, FT_LOAD_NO_BITMAP) != 0) return false;
    FT_GlyphSlot slot = character.face->glyph;
    if (font.weight >= 600 && !(character.face->style_flags & FT_STYLE_FLAG_BOLD)) FT_GlyphSlot_Embolden(slot);
    if (font.italic && !(character.face->style_flags & FT_STYLE_FLAG_ITALIC)) FT_GlyphSlot_Oblique(slot);
    return FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0;
}

static GLYPH glyph_make(FONT_SET* set, char32_t character) {
    GLYPH glyph = {};
    const FACE_CHARACTER found = character_find(set, character);
    if (!found.face || !shape_render(set->font, found)) return glyph;
    const FT_GlyphSlot slot = found.face->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    glyph.left = slot->bitmap_left;
    glyph.top = set->metrics.ascent - slot->bitmap_top;
    glyph.advance = int((slot->advance.x + 32) >> 6);
    if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY || bitmap.pitch < 0) return glyph;
    glyph.width = int(bitmap.width);
    glyph.height = int(bitmap.rows);
    glyph.coverage.reserve(size_t{bitmap.width} * bitmap.rows);
    for (size_t y = 0; y < bitmap.rows; ++y)
        for (size_t x = 0; x < bitmap.width; ++x)
            glyph.coverage.push_back(uint8_t((bitmap.buffer[y * size_t(bitmap.pitch) + x] * 64 + 127) / 255));
    return glyph;
}

bool glyph_metrics(const TEXT_FONT& font, GLYPH_METRICS* metrics) {
    try {
        const FONT_SET* set = set_get(font);
        if (set) *metrics = set->metrics;
        return set != nullptr;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

const GLYPH* glyph_get(const TEXT_FONT& font, char32_t character) {
    try {
        FONT_SET* set = set_get(font);
        if (!set) return nullptr;
        const auto known = set->glyphs.find(character);
        if (known != set->glyphs.end()) return &known->second;
        if (set->coverage_size > COVERAGE_MAX) {
            set->glyphs.clear();
            set->coverage_size = 0;
        }
        const GLYPH* glyph = &(set->glyphs[character] = glyph_make(set, character));
        set->coverage_size += glyph->coverage.size() + sizeof(GLYPH);
        return glyph;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
