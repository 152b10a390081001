#pragma once

struct SAVE;

/// Makes the formats of a copying save ready: sound whose packets have sizes of their own goes out with a packet in
/// each chunk, and the stream header says how long one lasts, as it does in the source.
void save_audio_plan_copy(SAVE* save);

/// Writes the group of sound that starts at frame f, if one starts there: converted sound in pieces of at most one
/// second, copied sound whole. The gather buffer (display_buffer) bounds what is gathered at a time. A result of the
/// writer: 1 or an error.
int save_put_audio(SAVE* save, int f);
