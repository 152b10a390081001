#pragma once

struct SAVE;

/// Writes the group of sound that starts at frame f, if one starts there: converted sound in pieces of at most one
/// second, copied sound whole. The gather buffer (display_buffer) bounds what is gathered at a time. A result of the
/// writer: 1 or an error.
int save_put_audio(SAVE* save, int f);
