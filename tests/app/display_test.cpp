#include <signal.h>

#include "app/app.h"

// Without a display there is no window to wait in.
TEST(Display, WithoutOneTheProgramSaysSoAndEnds) {
    const TEMP_FOLDER_PATH folder;
    const COMMAND_OUTPUT alone = vantel(folder, {}, {.limit_seconds = 20});
    EXPECT_EQ(alone.status, 1);
    EXPECT_NE(alone.error.find("--help"), std::string::npos) << alone.error;
    EXPECT_EQ(vantel(folder, {"-q"}, {.limit_seconds = 20}).status, 0);
    EXPECT_EQ(vantel(folder, {"-q"}, {.environment = {"DISPLAY=:9999"}, .limit_seconds = 20}).status, 0)
        << "a quiet run needs no display";
}

/// The program in a window that nobody sees, and a signal that comes some time after the file `mark` was made.
struct WINDOW_FOLDER : CLIP_FOLDER {
    std::string mark = path + "/mark.wav", resume = path + "/home/vantel.vtp";
    explicit WINDOW_FOLDER(const CLIP& what = {64, 48, 30, 1, 60, 24, 44100, 0}) : CLIP_FOLDER(what) {
        std::filesystem::create_directory(path + "/home");
        // the question that a user would get must not come
        file_put_bytes(path + "/home/vantel.ini", "[system]\neditresume=1\nclosedialog=1\n");
    }
    COMMAND_OUTPUT ends(const std::vector<std::string>& line, int signal, const std::string& file, int ms) const {
        std::filesystem::remove(file);
        return vantel(*this, line,
                      {.environment = {"DISPLAY=:9999", "QT_QPA_PLATFORM=offscreen"},
                       .signal = signal,
                       .signal_ms = ms,
                       .signal_file = file,
                       .limit_seconds = 30});
    }
    void expect_stored() const {
        EXPECT_NE(file_bytes(path + "/home/vantel.ini").find("clip.avi"), std::string::npos);
        EXPECT_NE(file_bytes(path + "/home/vantel.ini").find("[window]"), std::string::npos);
        EXPECT_EQ(vantel(*this, {resume, "-ow", path + "/again.wav", "-q"}).status, 0) << "the edit can be resumed";
    }
};

TEST(Display, ASignalStoresTheStateAndEnds) {
    const WINDOW_FOLDER folder;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::filesystem::remove(folder.resume);
        EXPECT_EQ(folder.ends({folder.clip, "-ow", folder.mark}, signal, folder.mark, 500).status, 128 + signal);
        folder.expect_stored();
    }
    // a box waits for its user
    file_put_bytes(folder / "line.vts", "clip.avi -ow mark.wav\nnosuch.avi\n");
    EXPECT_EQ(folder.ends({"line.vts"}, SIGTERM, folder.mark, 500).status, 128 + SIGTERM);
}

TEST(Display, ASignalStopsASaveAndStores) {
    const WINDOW_FOLDER folder({640, 480, 25, 1, 400, 24, 44100, 0});
    const std::string out = folder / "out.avi";
    const COMMAND_OUTPUT run = folder.ends({folder.clip, "-o", out}, SIGTERM, out, 50);
    EXPECT_EQ(run.status, 128 + SIGTERM) << run.error;
    const int frames = std::stoi("0" + probe(out, "v", "stream=nb_frames"));
    EXPECT_GT(frames, 0);
    EXPECT_LT(frames, 400) << "or the save was faster than the signal";
    folder.expect_stored();
}
