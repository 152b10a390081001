#pragma once

/// Settings files: [section], key=value lines, ';' or '#' comments. In memory all texts are code page 932, in the file
/// they are UTF-8. Names compare with ASCII case ignored; '[' and ']' are cut out of section names (double bytes left
/// whole), so what was written under such a name is also found. Any thread; calls take turns.
///
/// A file is parsed once and again when its stamp changes. A write changes the file that is there at that moment, under
/// a lock on its folder, and replaces it in one step: runs that share a file lose no key of each other. The lock is
/// waited for 3 seconds, then the write goes on without. The user's comments, unknown keys and repeated keys survive; a
/// line that means nothing survives as a comment; blank lines may move. Of a repeated key the first counts.
///
/// A file that is missing is empty. One that cannot be read (no permission, no regular file, above 16 MiB) reads as
/// empty and is never written over: writing fails.

/// The value as a decimal number: leading blanks, a sign, digits, whatever follows ignored; 0 when it does not begin
/// with a number; larger numbers keep their low 32 bits. def when the key is absent.
int ini_read_int(const char* file, const char* section, const char* key, int def);

/// The value, without the blanks and then the one pair of quotes ("" or '') around it. def (null as "") when the key is
/// absent or the value is longer than 259 bytes; "" when def is.
void ini_read_text(const char* file, const char* section, const char* key, char buffer[260], const char* def);

/// 1 when the value is in the file (or in the open batch), else 0: the file cannot be read or replaced, the key is ""
/// or holds a character that a key cannot hold, the text has a line break or more than 259 bytes. Text comes back
/// exactly, apart from what platform/text.h says about codes that do not survive UTF-8. An unchanged value costs no
/// replacing.
int ini_write_int(const char* file, const char* section, const char* key, int value);
int ini_write_text(const char* file, const char* section, const char* key, const char* text);

/// Between begin and end, writes to the file are collected (and seen by the reads of this process); end puts them into
/// the file at once. Batches nest; the outermost end writes. end gives 1, or 0 when the values could not be
/// written, which are then dropped.
void ini_batch_begin(const char* file);
int ini_batch_end(const char* file);
