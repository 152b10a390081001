#include <sys/stat.h>

#include "app/app.h"

static std::string frames_saved(const CLIP_FOLDER& folder, std::vector<std::string> arguments) {
    std::filesystem::remove(folder / "out.avi");
    arguments.insert(arguments.begin(), {folder.clip, "-o", folder / "out.avi", "-q"});
    const COMMAND_OUTPUT run = vantel(folder, arguments);
    EXPECT_EQ(run.status, 0) << run.error;
    return probe(folder / "out.avi", "v", "stream=nb_frames");
}

// The frame number stands in the picture, as blocks along the lower edge.
static int first_frame_number(const CLIP_FOLDER& folder) {
    const std::string frames = decoded_frames(folder, folder / "out.avi");
    int number = 0;
    for (size_t bit = 0, at = (44 * 64 + 4) * 3; bit < 8 && at < frames.size(); ++bit, at += 24)
        if (uint8_t(frames[at]) > 128) number |= 1 << bit;
    return number;
}

TEST(CommandLine, RangesCountFromTheShownNumber) {
    const CLIP_FOLDER folder;
    EXPECT_EQ(frames_saved(folder, {"-r5"}), "56");
    EXPECT_EQ(first_frame_number(folder), 4);
    EXPECT_EQ(frames_saved(folder, {"-r20,10"}), "1");
    EXPECT_EQ(first_frame_number(folder), 19);
    EXPECT_EQ(frames_saved(folder, {"-R", "11,20"}), "10");
    EXPECT_EQ(frames_saved(folder, {"-r0,999999"}), "60");
    std::filesystem::create_directories(folder / "home");
    file_put_bytes(folder / "home/vantel.ini", "[system]\nstartframe=0\n");
    EXPECT_EQ(frames_saved(folder, {"-r5,9"}), "5");
    EXPECT_EQ(first_frame_number(folder), 5);
}

TEST(CommandLine, ValuesMayBeJoinedAndTokensStandInAnyOrder) {
    const CLIP_FOLDER folder;
    EXPECT_EQ(vantel(folder, {"-q", "-r1,3", "-oout 1.avi", "clip.avi"}).status, 0);
    EXPECT_EQ(vantel(folder, {"-OAout2.avi", "clip.avi", "-q"}).status, 0);
    EXPECT_EQ(vantel(folder, {"-ow", "out3.wav", folder.clip, "-q"}).status, 0);
    EXPECT_EQ(probe(folder / "out 1.avi", "v", "stream=nb_frames"), "3");
    EXPECT_EQ(probe(folder / "out2.avi", "v", "stream=nb_frames"), "60");
    EXPECT_EQ(probe(folder / "out3.wav", "a", "stream=duration_ts"), "88200");
    EXPECT_NE(file_bytes(folder / "home/vantel.ini").find("history0"), std::string::npos);
    EXPECT_NE(vantel(folder, {"--help"}).text.find("-ow"), std::string::npos);
    EXPECT_NE(vantel(folder, {"--version"}).text.find("Vantel"), std::string::npos);
}

TEST(CommandLine, MistakesAreToldAndNothingIsWritten) {
    const CLIP_FOLDER folder;
    const std::string out = folder / "out.avi";
    const std::vector<std::vector<std::string>> lines = {
        {folder.clip, "-o", out, "-x"},
        {folder.clip, "-o", out, "-rabc"},
        {folder.clip, "-o", out, "-r1,"},
        {folder.clip, "-o", out, "-quick"},
        {folder.clip, folder.clip, "-o", out},
        {"-o", out},
        {folder.clip, "-o"},
        {folder.clip, "-p", "no such profile", "-o", out},
        {folder.clip, "-a", folder / "no.wav", "-o", out},
        {folder.clip, "-o", folder / std::string(300, 'x')},
    };
    for (const auto& line : lines) {
        const COMMAND_OUTPUT run = vantel(folder, line);
        EXPECT_EQ(run.status, 1) << line.back();
        EXPECT_EQ(run.error.rfind("vantel: ", 0), 0u) << line.back();
        EXPECT_FALSE(std::filesystem::exists(out)) << line.back();
    }
}

TEST(CommandLine, SourcesThatCannotBeOpenedAreNamed) {
    const CLIP_FOLDER folder;
    file_put_bytes(folder / "empty.avi", "");
    file_put_bytes(folder / "text.avi", "this is not a film");
    file_put_bytes(folder / "cut.avi", file_bytes(folder.clip).substr(0, 300));
    mkfifo((folder / "fifo.avi").c_str(), 0600);
    std::filesystem::create_directory(folder / "folder.avi");
    for (const char* name : {"missing.avi", "empty.avi", "text.avi", "cut.avi", "fifo.avi", "folder.avi"}) {
        const COMMAND_OUTPUT run = vantel(folder, {folder / name, "-o", folder / "out.avi", "-q"});
        EXPECT_EQ(run.status, 1) << name;
        EXPECT_NE(run.error.find(name), std::string::npos) << run.error;
        EXPECT_FALSE(std::filesystem::exists(folder / "out.avi"));
    }
}

TEST(CommandLine, ASourceIsNeverWrittenOver) {
    const CLIP_FOLDER folder;
    const std::string before = file_bytes(folder.clip);
    std::filesystem::create_symlink(folder.clip, folder / "link.avi");
    std::filesystem::create_hard_link(folder.clip, folder / "hard.avi");
    for (const std::string& target :
         {folder.clip, folder / "CLIP.AVI", folder / "link.avi", folder / "hard.avi", folder.path + "/./clip.avi"}) {
        const COMMAND_OUTPUT run = vantel(folder, {folder.clip, "-o", target, "-q"});
        EXPECT_TRUE(run.status == 1 && !run.error.empty()) << target;
        EXPECT_TRUE(file_bytes(folder.clip) == before) << target;
    }
    EXPECT_EQ(vantel(folder, {folder.clip, "-o", folder / "no/such/out.avi", "-q"}).status, 1);
    EXPECT_EQ(vantel(folder, {folder.clip, "-o", folder.path, "-q"}).status, 1);
}

TEST(CommandLine, AnyFileNameOpensAndIsWritten) {
    const CLIP_FOLDER folder;
    for (const std::string& name :
         {std::string("映像 \\ 表.avi"), std::string("caf\xC3\xA9 \xF0\x9F\x8E\xAC.avi"),
          std::string("bad\xFF\xFE.avi"), std::string("-dash.avi"), std::string("[x];#=.avi")}) {
        std::filesystem::copy_file(folder.clip, folder / name);
        const COMMAND_OUTPUT run = vantel(folder, {folder / name, "-o", folder / ("out " + name), "-q"});
        EXPECT_EQ(run.status, 0) << name << run.error;
        EXPECT_TRUE(std::filesystem::exists(folder / ("out " + name))) << name;
    }
}

TEST(CommandLine, ScriptsRunLineByLine) {
    const CLIP_FOLDER folder;
    file_put_bytes(folder / "a.vts", "clip.avi -r1,5\t-o \"out 1.avi\"\r\n\r\nclip.avi -r1,6 -o out2.avi -q\n");
    file_put_bytes(folder / "b.vts", "nothing.avi -o out3.avi\nclip.avi -r1,7 -o out4.avi\n");
    file_put_bytes(folder / "loop.vts", "loop.vts\n");
    EXPECT_EQ(vantel(folder, {"a.vts", "-q"}).status, 0);
    EXPECT_EQ(probe(folder / "out 1.avi", "v", "stream=nb_frames"), "5");
    EXPECT_EQ(probe(folder / "out2.avi", "v", "stream=nb_frames"), "6");
    EXPECT_EQ(vantel(folder, {"b.vts", "-q"}).status, 1);
    EXPECT_EQ(probe(folder / "out4.avi", "v", "stream=nb_frames"), "7");
    const COMMAND_OUTPUT loop = vantel(folder, {"loop.vts", "-q"});
    EXPECT_EQ(loop.status, 1);
    EXPECT_NE(loop.error.find("loop.vts"), std::string::npos);
}

TEST(CommandLine, ASoundFileReplacesTheClipsOwnSound) {
    const CLIP_FOLDER folder;
    ASSERT_TRUE(ffmpeg(
        {"-f", "lavfi", "-i", "sine=frequency=300:sample_rate=48000", "-t", "2", "-ac", "1", folder / "tone.wav"}));
    ASSERT_EQ(vantel(folder, {folder.clip, "-a", "tone.wav", "-o", "out.avi", "-q"}).status, 0);
    EXPECT_TRUE(decoded_sound(folder, folder / "tone.wav") == decoded_sound(folder, folder / "out.avi"));
}
