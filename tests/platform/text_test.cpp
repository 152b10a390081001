#include "platform/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

namespace {

/// Every byte belongs to a single byte or to a whole double byte.
bool is_whole(const std::string& text) {
    const char* at = text.c_str();
    for (; *at != 0; at = text_next(at))
        if (text_is_lead(uint8_t(*at)) && text_char_size(at) != 2) return false;
    return at == text.c_str() + text.size();
}

TEST(Text, KnownCodes) {
    EXPECT_EQ(text_from_utf8("ソース表.avi"), "\x83\x5C\x81\x5B\x83\x58\x95\x5C.avi");
    EXPECT_EQ(text_to_utf8("\x81\x60\x81\x7C\xB1\x81\x5F"), "～－ｱ＼");
    EXPECT_EQ(text_from_utf8("～"), "\x81\x60");                      // U+FF5E
    EXPECT_EQ(text_from_utf8("\u301C"), "\xF0\xA4\xF0\x40\xF0\x5C");  // E3 80 9C, no character of the code page
    EXPECT_EQ(text_from_utf8("é\xFF"), "\xF0\x84\xF0\x69\xF0\xC0");   // C3 A9, then no UTF-8; 7F is stepped over
    EXPECT_EQ(text_from_utf8("≒纊￢ⅰ"), "\x81\xE0\xFA\x5C\x81\xCA\xFA\x40");  // of duplicates the usual code
    EXPECT_EQ(text_to_utf8("\x87\x90\xED\x40\xEE\xF9\xEE\xEF"), "≒纊￢ⅰ");
    EXPECT_EQ(text_from_utf8("\uE000"), "\xF0\xAF\xF0\x40\xF0\x40");  // its own code stands for a carried byte
    EXPECT_EQ(text_from_utf8("\uE080"), "\xF0\xC1");
    EXPECT_EQ(text_to_utf8(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Text, EveryCharacterComesBack) {
    int direct = 0;
    for (char32_t c = 1; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c < 0xE000) continue;
        const std::string in = std::filesystem::path(std::u32string(1, c)).string(), code = text_from_utf8(in);
        ASSERT_EQ(text_to_utf8(code), in) << std::hex << uint32_t(c);
        ASSERT_TRUE(is_whole(code)) << std::hex << uint32_t(c);
        direct += c < 0xF0000 && code.size() <= 2;
    }
    // 7698 defined characters and 1752 of the user's own, less the 128 that carry: none of the table is missing.
    EXPECT_GT(direct, 9000);
}

TEST(Text, AnyBytesComeBack) {
    std::mt19937 random(932);
    static const char* const PIECES[] = {
        "あ", "\xE3\x81", "\xF0\x9F\x98\x80", "\xED\xA0\x80", "\xC0\x80", "\xEE\x80\x80", "/", "\\"};
    for (int i = 0; i < 200000; ++i) {
        std::string in;
        for (auto n = random() % 12; n > 0; --n) {
            const auto value = random();
            in += value % 3 == 0 ? PIECES[value / 3 % std::size(PIECES)] : std::string(1, char(value / 3 % 255 + 1));
        }
        const std::string code = text_from_utf8(in);
        ASSERT_EQ(text_to_utf8(code), in) << testing::PrintToString(in);
        ASSERT_TRUE(is_whole(code));
    }
}

TEST(Text, CodesComeBackOrBecomeTheirUsualCode) {
    int changed = 0;
    for (unsigned lead = 1; lead < 256; ++lead) {
        if (!text_is_lead(uint8_t(lead))) {
            const std::string single(1, char(lead));
            EXPECT_EQ(text_from_utf8(text_to_utf8(single)), single) << lead;
            continue;
        }
        for (unsigned trail = 1; trail < 256; ++trail) {
            const std::string code = {char(lead), char(trail)}, back = text_from_utf8(text_to_utf8(code));
            ASSERT_EQ(text_to_utf8(back), text_to_utf8(code));
            if (!text_is_trail(uint8_t(trail))) {
                EXPECT_EQ(back[0], '\xF0');  // the lead byte is carried, what follows stands on its own
                EXPECT_EQ(back.substr(2), code.substr(1));
            } else if (back != code) {
                ++changed;
                ASSERT_EQ(back.size(), 2u) << std::hex << lead << trail;
            }
        }
    }
    EXPECT_EQ(changed, 398);  // the duplicates of the code page
}

TEST(Text, ScansStepOverDoubleBytes) {
    const char text[] = "a\x83\x5C/\x83|\x81\x7C|b";
    EXPECT_EQ(text_find(text, '\\'), nullptr);
    EXPECT_EQ(text_find_last(text, '|'), text + 8);
    EXPECT_EQ(text_find(text, '|'), text + 8);
    const char stray[] = "\x81/\x81";  // no lead byte swallows a separator or the NUL
    EXPECT_EQ(text_find(stray, '/'), stray + 1);
    for (const int at : {2, 3}) EXPECT_EQ(text_next(stray + at), stray + 3);
}

TEST(Text, CopyRefusesWhatDoesNotFit) {
    char buffer[5] = "old";
    EXPECT_TRUE(text_copy(buffer, sizeof buffer, "1234"));
    EXPECT_STREQ(buffer, "1234");
    EXPECT_TRUE(text_copy(buffer, sizeof buffer, buffer + 2));
    EXPECT_STREQ(buffer, "34");
    EXPECT_FALSE(text_copy(buffer, sizeof buffer, "12345"));
    EXPECT_STREQ(buffer, "");
    EXPECT_FALSE(text_copy(buffer, sizeof buffer, std::string_view("a\0b", 3)));
}

TEST(Text, CompareAndMatch) {
    EXPECT_EQ(text_compare_nocase("AbC", "aBc"), 0);
    EXPECT_LT(text_compare_nocase("ab", "ABC"), 0);
    EXPECT_NE(text_compare_nocase("\x83\x41", "\x83\x61"), 0);  // ア and チ differ in the case of a letter
    for (const auto& [pattern, text] : {std::pair{"*.CFG", "name.cfg"}, {"*a*b?", "xaab\x83\x41"}, {"*", ""}})
        EXPECT_TRUE(text_match(pattern, text)) << pattern;
    for (const auto& [pattern, text] :
         {std::pair{"*A", "\x83\x41"}, {"\x83\x41", "\x83\x61"}, {"*.cfg", "name.cfgx"}, {"?", ""}, {"a", "ab"}})
        EXPECT_FALSE(text_match(pattern, text)) << pattern;
}

}  // namespace
