#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <future>

#include "app/save_fixture.h"
#include "core/compression_settings.h"
#include "output/avi_sample.h"
#include "output/writer_table.h"
#include "readers/codec.h"
#include "resources/string_ids.h"

/// Saves that something happens to: a full disk, a source that goes away, a compressor that fails, the end of the
/// program, another save.

static constexpr uint32_t XVID = VANTEL_FOURCC('X', 'V', 'I', 'D');

namespace fs = std::filesystem;

static bool begins_with(const SAMPLE_MEDIA& whole, const SAMPLE_MEDIA& part) {
    return part.frames.size() <= whole.frames.size() && part.sound.size() <= whole.sound.size() &&
           std::equal(part.frames.begin(), part.frames.end(), whole.frames.begin()) &&
           std::equal(part.sound.begin(), part.sound.end(), whole.sound.begin());
}

static SAMPLE_MEDIA read_back(const std::string& path) { return sample_read(text_from_utf8(path)); }

static const std::string PLAIN_INI = "[system]\ncompprofile=0\n";

struct SaveFault : SAVE_FIXTURE {
    void TearDown() override {
        save_set_writer(nullptr);
        SAVE_FIXTURE::TearDown();
    }
    /// `frames` of 64 x 48 with 16-bit sound of one channel.
    std::string source(const std::vector<std::string>& codec, int frames, const char* name = "source.avi") {
        return pattern(codec, frames, "64x48", name,
                       {"-f", "lavfi", "-i", "sine=frequency=300:sample_rate=8000", "-ac", "1", "-c:a", "pcm_s16le"});
    }
    /// Settings for the program in the folder's home: sound in groups of 3 frames.
    void home_settings(uint32_t handler, bool copy, const std::string& ini = PLAIN_INI) {
        codec_reset_setting(&edit->video_setting, handler);
        edit->video_setting.key_rate = 10;
        edit->video_setting.data_rate = 0;
        edit->video_setting.setting_flags = copy ? uint32_t{VIDEO_SETTING_COPY} : 0;
        edit->audio_setting.audio_flags = copy ? uint32_t{AUDIO_SETTING_COPY} : 0;
        edit->audio_setting.interleave = 3;
        ASSERT_TRUE(compression_write(edit, text_from_utf8(folder / "home/vantel.sav")));
        file_put_bytes(folder / "home/vantel.ini", ini);
    }
    /// What the home holds, or what it holds beside the settings file.
    std::map<std::string, std::string> home_files(bool with_settings = true) const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(folder / "home"))
            if (with_settings || entry.path().filename() != "vantel.ini")
                files[entry.path()] = file_bytes(entry.path());
        return files;
    }
};

// ---- a full disk

TEST_F(SaveFault, AFullDiskLeavesWhatFitsAndNothingElseIsTouched) {
    const std::string path = source({"mpeg4", "-vtag", "XVID", "-g", "8", "-bf", "0"}, 40);
    enum { COMPRESSED, COPIED, WAV };
    for (const int what : {COMPRESSED, COPIED, WAV}) {
        out = folder / (what == WAV ? "out.wav" : "out.avi");
        const std::vector<std::string> line = {path, what == WAV ? "-ow" : "-o", out, "-q"};
        const long header = what == WAV ? 46 : 6144;  // bytes in front of the first data
        home_settings(XVID, what == COPIED);
        run_program(line);
        const SAMPLE_MEDIA whole = read_back(out);
        const auto files = home_files(false);
        const long size = long(file_bytes(out).size());
        for (const long limit : {300L, header - 1, header, header + 700, (header + size) / 2, size - 645, size - 1}) {
            SCOPED_TRACE(std::to_string(what) + ": " + std::to_string(limit));
            file_put_bytes(folder / "home/vantel.ini", PLAIN_INI);  // the program writes what it knows of codecs there
            const long held = std::max(limit, 300L);                // messages go to a file, too
            const COMMAND_OUTPUT run = vantel(folder, line, {.file_size_limit = held});
            ASSERT_EQ(run.status, 1);
            const int id = limit < header && what != WAV ? STR_ERR_CREATE_FAILED : STR_ERR_WRITE_FAILED;
            EXPECT_NE(run.error.find(first_line(id)), run.error.npos) << run.error;
            EXPECT_NE(run.error.find(out), run.error.npos) << run.error;
            const std::string now = file_bytes(folder / "home/vantel.ini");
            EXPECT_TRUE(now == PLAIN_INI ||
                        (now.starts_with(PLAIN_INI) && now.ends_with("history9=\n")));  // whole, whichever
            EXPECT_TRUE(home_files(false) == files) << "changed, or something was left behind";
            if (what == WAV) {
                const long left = long(file_bytes(out).size());
                EXPECT_GT(left, held - 4);
                EXPECT_EQ(long(decoded_sound(folder, out).size()), left - header);
            } else if (limit >= header) {
                const SAMPLE_MEDIA part = read_back(out);
                EXPECT_TRUE(begins_with(whole, part));
                EXPECT_GT(double(part.frames.size() + 4), 40.0 * double(limit - header) / double(size - header));
            }
        }
    }
}

// ---- in the middle of a save

/// The AVI writer with something that happens as a frame is put.
static std::function<void(SAVE_CONTEXT* context, int frame)> on_frame;
static int frames_put;

static int put_frame_and_act(SAVE_CONTEXT* context, const void* pixels, uint32_t* size) {
    const uint32_t compressor = context->decoder.compressor;
    on_frame(context, frames_put++);
    const int result = writer_avi.put_frame(context, pixels, size);
    context->decoder.compressor = compressor;
    return result;
}
static int put_stored_and_act(SAVE_CONTEXT* context, const void* bytes, size_t size, uint32_t flags) {
    on_frame(context, frames_put++);
    return writer_avi.put_stored_frame(context, bytes, size, flags);
}
static const WRITER& acting_writer(std::function<void(SAVE_CONTEXT* context, int frame)> act) {
    static WRITER writer = writer_avi;
    writer.put_frame = put_frame_and_act;
    writer.put_stored_frame = put_stored_and_act;
    on_frame = std::move(act);
    frames_put = 0;
    return writer;
}

/// A source that is open stays readable when its name goes away. One that is cut shows its last picture from there on,
/// as a damaged one does: an empty frame in a copying save, the picture itself in others, silence for sound.
TEST_F(SaveFault, ASourceThatGoesAway) {
    static constexpr int AT = 10;
    static const struct {
        const char* name;
        std::vector<std::string> codec;
        bool copy;
    } SOURCES[] = {{"a.avi", RAW_VIDEO, false},
                   {"b.avi", {"mjpeg", "-q:v", "2"}, true},
                   {"c.mov", {"mpeg4", "-q:v", "1", "-vf", "noise=alls=90:allf=t"}, false}};
    enum { REMOVED, FOLDER, CUT, NOTHING };
    for (const auto& s : SOURCES) {
        SAMPLE_MEDIA whole;
        for (const int what : {NOTHING, REMOVED, FOLDER, CUT}) {
            SCOPED_TRACE(s.name + std::to_string(what));
            const std::string path = source(s.codec, 50, s.name);
            edit->video_setting.setting_flags = s.copy ? uint32_t{VIDEO_SETTING_COPY} : 0;
            open(path);
            const auto act = [&](SAVE_CONTEXT*, int frame) {
                if (frame != AT) return;
                if (what == REMOVED || what == FOLDER) fs::remove(path);
                if (what == FOLDER) fs::create_directory(path);
                if (what == CUT) fs::resize_file(path, fs::file_size(path) / 2);
            };
            save_set_writer(&acting_writer(act));
            ASSERT_EQ(save(), 1);
            const SAMPLE_MEDIA got = read_back(out);
            if (what == NOTHING) whole = got;
            ASSERT_EQ(got.frames.size(), 50u);
            EXPECT_TRUE(what == CUT || got == whole);
            for (size_t f = 0; f < AT; ++f) EXPECT_TRUE(got.frames[f] == whole.frames[f]) << f;
            const SAMPLE_CHUNK &late = got.frames[40], &last = got.frames[49];
            EXPECT_TRUE(what != CUT || (s.copy ? late.bytes.empty() : last == late && !(last == whole.frames[49])));
            close_edit(edit);
            fs::remove(path);
        }
    }
}

TEST_F(SaveFault, ACompressorThatFailsLeavesTheFramesBeforeIt) {
    source(RAW_VIDEO, 30);
    for (const int fails_at : {0, 13, 29}) {
        open(folder / "source.avi");
        codec_reset_setting(&edit->video_setting, XVID);
        save_set_writer(&acting_writer([&](SAVE_CONTEXT* context, int frame) {
            if (frame == fails_at) context->decoder.compressor = 0;  // a compressor that is gone
        }));
        expect_save_fails(STR_ERR_VIDEO_COMPRESS);
        EXPECT_EQ(save_report().written, fails_at);
        EXPECT_EQ(read_back(out).frames.size(), size_t(fails_at));
        EXPECT_EQ(decoded_frames(folder, out).size(), size_t(fails_at) * 64 * 48 * 3);
    }
}

// ---- the end of the program

/// What a save leaves that ends at any moment, as the writer's file is at that moment: all chunks that are in it as a
/// whole come back, with their key marks.
TEST(SaveKilled, EveryWholeChunkComesBack) {
    const SAMPLE_SETTINGS settings;
    const std::vector<SAMPLE_CHUNK> chunks = sample_chunks(90, 40);
    for (const uint32_t limit : {settings.before.part_limit, 20000u}) {
        avi_writer_set_unit(0);
        avi_writer_settings.part_limit = limit;
        const SAMPLE_FILE file("killed.avi"), copy("left.avi");
        const auto context = sample_context();
        ASSERT_EQ(AVI_OK, avi_open(context.get(), file.path.c_str(), SAVE_VIDEO | SAVE_AUDIO, nullptr, 0));
        const auto left_gives = [&](const BYTES& bytes, size_t n) {
            file_put_bytes(copy.path, {bytes.begin(), bytes.end()});
            const SAMPLE_MEDIA want = sample_media({chunks.begin(), chunks.begin() + ptrdiff_t(n)});
            EXPECT_TRUE(sample_read(copy.path) == want) << n << " chunks, " << bytes.size() << " bytes";
        };
        for (size_t n = 1; n <= chunks.size(); ++n) {
            ASSERT_EQ(AVI_OK, sample_put(context.get(), chunks[n - 1]));
            BYTES bytes = file.load();
            left_gives(bytes, n);
            const size_t last = chunks[n - 1].bytes.size();
            if (last < 2 || n == 1) continue;
            bytes.resize(bytes.size() - last % 2 - 1);  // the last chunk is short of a byte
            left_gives(bytes, n - 1);
            bytes.resize(bytes.size() - last - 3);  // its header, too
            left_gives(bytes, n - 1);
        }
        ASSERT_EQ(1, avi_close(context.get()));
        // While it was being closed: the index is there in parts and the outer size is missing.
        BYTES bytes = file.load();
        if (limit != settings.before.part_limit) continue;
        for (size_t i = 4; i < 8; ++i) bytes[i] = 0;
        for (size_t cut = 0; cut < chunks.size() * 16 + 8; cut += 5, bytes.resize(bytes.size() - 5))
            left_gives(bytes, chunks.size());
    }
}

TEST_F(SaveFault, KilledInMidSave) {
    const std::string path = source(RAW_VIDEO, 1000);
    home_settings(XVID, false, PLAIN_INI + "saveunitsize=16\n");
    run_program({path, "-o", out, "-q"});
    const SAMPLE_MEDIA whole = read_back(out);
    const auto files = home_files();
    int caught = 0;
    for (int ms = 60; caught < 3 && ms < 20000; ms = ms * 5 / 4) {
        fs::remove(out);
        if (vantel(folder, {path, "-o", out, "-q"}, {.signal = SIGKILL, .signal_ms = ms}).status == 0) break;
        const SAMPLE_MEDIA left = read_back(out);
        EXPECT_TRUE(begins_with(whole, left)) << ms;
        caught += !left.frames.empty() && left.frames.size() < 1000;
        EXPECT_TRUE(home_files() == files);
    }
    EXPECT_GT(caught, 0) << "no save was caught in the middle";
}

// ---- two at once

TEST_F(SaveFault, TwoSavesAtOnce) {
    const std::string path = source(RAW_VIDEO, 300);
    home_settings(XVID, false);
    const auto run = [&](std::string to) { return vantel(folder, {path, "-o", to, "-q"}); };
    ASSERT_EQ(run(out).status, 0);
    const std::string wanted = file_bytes(out);
    const auto files = home_files();
    for (const char* second : {"second.avi", "out.avi", "out.avi"}) {
        SCOPED_TRACE(second);
        file_put_bytes(folder / "home/vantel.ini", PLAIN_INI);
        fs::remove(out);
        auto other = std::async(std::launch::async, run, folder / second);
        const COMMAND_OUTPUT a = run(out), b = other.get();
        // Two saves of one file: the later waits a second for the first, then gives up, or writes it anew.
        for (const COMMAND_OUTPUT* result : {&a, &b})
            ASSERT_TRUE(result->status == 0 || (result->status == 1 && std::string(second) == "out.avi" &&
                                                result->error.find(out) != std::string::npos))
                << result->status << result->error;
        EXPECT_TRUE(a.status == 0 || b.status == 0);
        EXPECT_TRUE(file_bytes(out) == wanted && file_bytes(folder / second) == wanted);
        EXPECT_TRUE(home_files() == files);
    }
    const int file = ::open(out.c_str(), O_RDWR);
    ASSERT_EQ(flock(file, LOCK_EX), 0);  // as a save holds its output
    const COMMAND_OUTPUT refused = run(out);
    close(file);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.error.find(first_line(STR_ERR_CREATE_FAILED)), refused.error.npos);
    EXPECT_TRUE(file_bytes(out) == wanted);
}
