#pragma once

#include "output/avi_file.h"

/// Puts a file in order whose end was lost (full disk, size limit, failing disk), so that it can be closed as a shorter
/// one. Chunks that are not in the file as a whole are forgotten. So are as many before them as it takes to store what
/// closing adds behind the last chunk, because a full disk gives no further byte: closing then only writes over what
/// the file already holds. avi_recover_cut at the very end drops what remains of it. The disk thread is ended.
void avi_recover(AVI_WRITER* w);

/// The same for a WAV file: whole samples.
void avi_recover_wav(AVI_WRITER* w);

/// Ends the file at the writer's position, which is behind the last closed list.
bool avi_recover_cut(AVI_WRITER* w);
