#include "resources/language.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <set>

#include "platform/text.h"
#include "resources/string_ids.h"
#include "resources/strings_ja.h"

namespace {

// What the callers hand to printf. A slip in a text is a crash or a wrong number in a message.
const std::pair<const char*, std::vector<int>> CONVERSIONS[] = {
    {"%d",
     {STR_ERR_TOO_MANY_SOURCES, STR_ERR_TOO_MANY_FRAMES, STR_ERR_TOO_MANY_JOBS, STR_ERR_TOO_MANY_CHAIN_FILES,
      STR_ERR_TOO_MANY_PROFILES}},
    {"%d%d", {STR_ERR_PICTURE_TOO_LARGE, STR_ERR_PICTURE_TOO_SMALL}},
    {"%d%s", {STR_ASK_RECOMPRESS_FRAME}},
    {"%s",
     {STR_ERR_PROFILE_NAME, STR_BATCH_RUNNING, STR_VERSION, STR_JOB_RUNNING, STR_JOB_DONE, STR_JOB_FAILED,
      STR_CLI_UNKNOWN_OPTION, STR_CLI_NO_VALUE, STR_CLI_BAD_RANGE, STR_CLI_OPTION_TWICE, STR_CLI_FILE_TWICE,
      STR_CLI_NO_PROFILE, STR_CLI_NOTHING_TO_WRITE, STR_CLI_NO_FILE_OPEN, STR_CLI_WARNING, STR_CLI_QUESTION_REFUSED,
      STR_CLI_SETTINGS_NOT_SAVED, STR_CLI_FATAL_START}},
    {"%s%s", {STR_ERR_KEY_TWICE, STR_CLI_OPEN_FAILED, STR_CLI_FILE_FAILED}},
    {"%llx%x%s%s%s", {STR_ASK_EXCEPTION}},
    {"%s%llx", {STR_EXCEPTION_MODULE}},
    {"%c%c%c%c%d%d", {STR_INFO_SURFACE}},
    {"%s%d", {STR_CLI_PATH_TOO_LONG, STR_TEXT_TOO_LONG, STR_CLI_SCRIPT_TOO_DEEP, STR_CLI_OUTPUT_STOPPED}},
    {"%s%d%s", {STR_CLI_SCRIPT_LINE}},
    {"%s%d%f", {STR_CLI_SAVED}},
    {"%s%f", {STR_CLI_SAVED_AUDIO}},
};

/// Another language, of the texts given, until the end of the test.
std::map<int, std::string> source_texts;
struct SOURCE_SCOPE {
    SOURCE_SCOPE() {
        language_set_source([](int id, std::string& utf8) {
            const auto entry = source_texts.find(id);
            if (entry != source_texts.end()) utf8 = entry->second;
            return entry != source_texts.end();
        });
    }
    ~SOURCE_SCOPE() { language_set_source(nullptr); }
};

}  // namespace

TEST(StringsJa, EveryTextSurvivesTheCodePage) {
    int last = -1;
    for (const STRING_TEXT& entry : strings_ja()) {
        EXPECT_LT(last, entry.number);
        last = entry.number;
        const std::string bytes = text_from_utf8(entry.text);
        EXPECT_EQ(text_to_utf8(bytes), entry.text) << entry.number;
        // foreign characters are carried in the user-defined area; none of our own texts may need that
        for (size_t i = 0; i < bytes.size(); ++i) {
            EXPECT_LT(uint8_t(bytes[i]), 0xF0) << entry.number << ": not a character of the code page";
            if (text_is_lead(uint8_t(bytes[i]))) ++i;
        }
        // only the help text is too long for a buffer
        EXPECT_TRUE(bytes.size() < 260 || entry.number == STR_CLI_HELP) << entry.number;
    }
}

TEST(StringsJa, EveryNameHasAText) {
    std::ifstream header(VANTEL_SOURCE_DIR "/src/resources/string_ids.h");
    ASSERT_TRUE(header);
    std::set<int> named, stored;
    for (std::string line; std::getline(header, line);) {
        const size_t equals = line.find(" = ");
        if (line.find("    STR_") == 0 && equals != std::string::npos) named.insert(std::stoi(line.substr(equals + 3)));
    }
    for (const STRING_TEXT& entry : strings_ja()) stored.insert(entry.number);
    EXPECT_GT(stored.size(), 200u);
    EXPECT_EQ(named, stored);
    for (const int unknown : {-1, 999, 99999}) EXPECT_EQ(strings_ja_find(unknown), "");
}

TEST(StringsJa, ConversionsAreWhatCallersPass) {
    std::map<int, std::string> wanted;
    for (const auto& [conversions, numbers] : CONVERSIONS)
        for (const int number : numbers) wanted[number] = conversions;
    for (const STRING_TEXT& entry : strings_ja())
        EXPECT_EQ(language_conversions(entry.text), wanted[entry.number]) << entry.number;
}

// Nothing that printf writes through, nothing that it does not know, no end of text behind '%'.
TEST(Language, ConversionsOfOddFormats) {
    for (const auto& [text, want] : {std::pair{"%02d of %s, 5%%", "%d%s"},
                                     {"0x%08llx %-5.1f%c", "%llx%f%c"},
                                     {"%*d %hhu", "%*d%hhu"},
                                     {"%n", "%?"},
                                     {"50% の", "%?"},
                                     {"%l%d %", "%?%d%?"},
                                     {"%2$s", "%?"}})
        EXPECT_EQ(language_conversions(text), want);
}

TEST(Language, ShortNumbersKeepTheirBuffer) {
    const char* seconds = language_string(STR_SECONDS);
    for (int id = -4; id < 400; ++id) language_string(id);
    EXPECT_EQ(language_string(STR_SECONDS), seconds);
    EXPECT_STREQ(seconds, "\x95\x62");
    for (const int unknown : {255, -1}) EXPECT_STREQ(language_string(unknown), "");
}

TEST(Language, EightLongNumbersAreValidTheNinthTakesTheFirst) {
    const char* text[9];
    for (int i = 0; i < 8; ++i) text[i] = language_string(STR_ERR_READ_FAILED + i);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(text_to_utf8(text[i]), strings_ja_find(STR_ERR_READ_FAILED + i)) << i;
        for (int k = 0; k < i; ++k) EXPECT_NE(text[i], text[k]);
    }
    text[8] = language_string(256);  // an unknown number takes its turn, too
    EXPECT_EQ(text[8], text[0]);
    EXPECT_STREQ(text[8], "");
    EXPECT_EQ(text_to_utf8(text[1]), strings_ja_find(STR_ERR_READ_FAILED + 1));
}

TEST(Language, SourceIsAskedFirstTextByText) {
    const char* kept = language_string(STR_HOURS);
    const SOURCE_SCOPE scope;
    // A good text, an empty one, and one that would make printf read a wrong argument.
    source_texts = {{STR_ASK_STOP_OUTPUT, "Stop the output?"},
                    {STR_ASK_STOP_SEARCH, ""},
                    {STR_ERR_TOO_MANY_JOBS, "At most %s jobs."}};
    EXPECT_STREQ(language_string(STR_ASK_STOP_OUTPUT), "Stop the output?");
    for (const int id : {STR_ASK_STOP_SEARCH, STR_ERR_TOO_MANY_JOBS, STR_ERR_OUT_OF_MEMORY})
        EXPECT_EQ(language_text_utf8(id), strings_ja_find(id)) << id;
    EXPECT_EQ(language_string(STR_HOURS), kept);
    language_set_source(nullptr);
    EXPECT_EQ(language_text_utf8(STR_ASK_STOP_OUTPUT), strings_ja_find(STR_ASK_STOP_OUTPUT));
}

TEST(Language, LongTextsAreCutAtACharacter) {
    const SOURCE_SCOPE scope;
    std::string& text = source_texts[STR_ASK_STOP_OUTPUT];
    for (const size_t ascii : {0u, 1u, 57u, 58u}) {
        text = std::string(ascii, 'a');
        for (int i = 0; i < 200; ++i) text += "秒";
        std::string expected(ascii, 'a');
        while (expected.size() + 2 <= 259) expected += "\x95\x62";
        EXPECT_EQ(language_string(STR_ASK_STOP_OUTPUT), expected) << ascii;
        EXPECT_EQ(language_text_utf8(STR_ASK_STOP_OUTPUT), text);
    }
    // exactly full, one too many, and broken UTF-8
    for (const size_t size : {259u, 260u}) {
        text = std::string(size, 'b');
        EXPECT_EQ(language_string(STR_ASK_STOP_OUTPUT), std::string(259, 'b'));
    }
    for (const std::string& broken : {std::string(258, 'd').append("\xE3\x81"), std::string(400, '\xF0')}) {
        text = broken;
        EXPECT_LT(std::strlen(language_string(STR_ASK_STOP_OUTPUT)), 260u);
    }
}
