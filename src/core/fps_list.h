#pragma once

/// The frame rates that a file may be loaded at: key `fpslist`.
struct FPS_ENTRY {
    int rate, scale;  // both 0: no conversion
    char label[32];   // UTF-8-free ASCII "29.97fps", or string "fps変換無し" by the caller for the 0/0 entry
};
inline constexpr int FPS_MAX = 64;  // 63 from the text and the no-conversion entry

struct FPS_LIST {
    FPS_ENTRY entry[FPS_MAX];
    int n;
    int no_conversion;  // index of the 0/0 entry
};

/// Parses a list text: entries a/b, a.b, a or "*" (where the no-conversion entry stands; without one it stands first),
/// separated by ',' or ';', blanks round each allowed; a bad token ends the list.
void fps_list_parse(FPS_LIST* list, const char* text);

/// The list of this run: parsed at start-up and when the settings dialog closes. Main thread.
extern FPS_LIST fps_list;
