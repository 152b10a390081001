#pragma once

#include <string>
#include <string_view>

/// Gives out user-visible texts by number (string_ids.h). Each text is looked for in the language source first, if
/// there is one, and then in the program's own Japanese, one by one, so a language may be incomplete. Main thread only.

/// The text of a number in code page 932, at most 259 bytes and a zero byte, never null; "" for an unknown number. A
/// longer text is cut between two characters. Numbers 0 .. 255 stay valid and unchanged for the whole run; all others
/// share 8 buffers used in turn, so each is valid for 8 calls.
const char* language_string(int id);

/// The same text in UTF-8 and in full, for standard error, windows and long texts. Empty for an unknown number.
std::string language_text_utf8(int id);

/// Looks a text up in a language file: stores it and returns true, or returns false when the file has none. An empty
/// text counts as none, and so does one whose printf conversions differ from those of the program's own text.
using LANGUAGE_SOURCE = bool (*)(int id, std::string& utf8);
/// Sets the language source, null for none (the state at start). Belongs before the first text is asked for: texts
/// below 256 that have been given out keep their language.
void language_set_source(LANGUAGE_SOURCE source);

/// The printf conversions of a text, lengths kept, widths and flags dropped: "%02d of %s, 5%%" gives "%d%s". Any other
/// character behind a '%', and a '%' at the end, gives "%?".
std::string language_conversions(std::string_view text);
