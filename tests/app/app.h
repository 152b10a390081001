#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "demo/clip.h"
#include "platform/text.h"
#include "support/command.h"

/// Helpers for driving the finished program and its peer ffmpeg.

/// Runs build/vantel in a folder, with settings of the test's own in folder/home.
inline COMMAND_OUTPUT vantel(const TEMP_FOLDER_PATH& folder, const std::vector<std::string>& arguments,
                             COMMAND_OPTIONS options = {}) {
    std::vector<std::string> line = {VANTEL_BUILD_DIR "/vantel"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    options.folder = folder.path;
    options.environment.insert(options.environment.begin(),
                               {"VANTEL_HOME=" + (folder / "home"), "DISPLAY=", "WAYLAND_DISPLAY="});  // no window
    return command_run(line, options);
}

/// ffmpeg with arguments; true when it succeeded.
inline bool ffmpeg(std::vector<std::string> arguments) {
    const std::vector<std::string> head = {"ffmpeg", "-nostdin", "-loglevel", "error", "-y"};
    arguments.insert(arguments.begin(), head.begin(), head.end());
    return command_run(arguments).status == 0;
}

/// What ffmpeg decodes of a file: all frames as raw RGB24, or all sound as 16-bit PCM.
inline std::string decoded_frames(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    ffmpeg({"-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24", "-vsync", "passthrough", folder / "decoded.raw"});
    return file_bytes(folder / "decoded.raw");
}
inline std::string decoded_sound(const TEMP_FOLDER_PATH& folder, const std::string& path) {
    ffmpeg({"-i", path, "-f", "s16le", "-c:a", "pcm_s16le", folder / "decoded.pcm"});
    return file_bytes(folder / "decoded.pcm");
}

/// One value of ffprobe, for instance "stream=nb_frames" of the first video stream.
inline std::string probe(const std::string& path, const std::string& stream, const std::string& entry) {
    const std::string text = command_run({"ffprobe", "-loglevel", "error", "-select_streams", stream, "-show_entries",
                                          entry, "-of", "default=nw=1:nk=1", path})
                                 .text;
    return text.substr(0, text.find('\n'));
}

/// A folder with a clip in it.
struct CLIP_FOLDER : TEMP_FOLDER_PATH {
    std::string clip = path + "/clip.avi";
    explicit CLIP_FOLDER(const CLIP& what = {64, 48, 30, 1, 60, 24, 44100, 0}) {
        EXPECT_TRUE(clip_write(what, text_from_utf8(clip)));
    }
};
