#include <cstdio>
#include <string>
#include <vector>

#include "core/command_line.h"
#include "core/start_up.h"
#include "demo/clip.h"
#include "output/save.h"
#include "platform/path.h"
#include "platform/text.h"

// What the program does on a machine without a display: opens a clip, filters and saves a selection of it, and tells.
int main() {
    const CLIP clip = {1280, 720, 30000, 1001, 240, 24, 48000, 0};
    const std::string source = path_temp_folder() + "vantel-demo.avi";
    const std::string output = path_temp_folder() + "vantel-demo-out.avi";
    EDIT_STATE* edit = start_up(false);
    if (!edit) return 1;
    if (!clip_write(clip, source)) {
        std::fprintf(stderr, "cannot write %s\n", text_to_utf8(source).c_str());
        return 1;
    }
    std::printf("made   %s: %d frames of %dx%d with sound\n", text_to_utf8(source).c_str(), clip.frames, clip.width,
                clip.height);
    const std::vector<std::string> tokens = {text_to_utf8(source), "-r11,200", "-o", text_to_utf8(output), "-q"};
    const COMMAND_RESULT result = run_command_line(edit, tokens);
    const SAVE_REPORT report = save_report();
    shut_down();
    if (!result.done) return 1;
    const double seconds = double(report.elapsed_ms) / 1000;
    std::printf("ran    vantel %s -r11,200 -o %s -q\n", tokens[0].c_str(), tokens[3].c_str());
    std::printf("saved  frames 11 to 200 through the 48-bit pipeline: %d frames in %.2f s, %.0f frames a second\n",
                report.written, seconds, seconds > 0 ? report.written / seconds : 0.0);
    std::printf("look   ffplay %s\n", tokens[3].c_str());
    return 0;
}
