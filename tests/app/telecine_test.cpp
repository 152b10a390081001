#include <cstdio>
#include <set>

#include "app/app.h"
#include "core/edit_fixture.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "resources/string_ids.h"

/// A film that ffmpeg spreads over the fields of 29.97 fps video, and what the 24 fps method makes of it.
struct Telecine : EDIT_FIXTURE {
    static constexpr size_t FRAME = 320 * 240 * 3;
    static constexpr int FILM_FRAMES = 96;

    std::vector<std::string> film;  // its pictures

    void make(const std::string& order, const std::string& noise) {
        ASSERT_TRUE(
            ffmpeg({"-f", "lavfi", "-i", "testsrc2=rate=24000/1001:size=320x240", "-frames:v",
                    std::to_string(FILM_FRAMES), "-c:v", "rawvideo", "-pix_fmt", "bgr24", folder / "film.avi"}));
        ASSERT_TRUE(ffmpeg({"-i", folder / "film.avi", "-vf", "telecine=first_field=" + order + ":pattern=23" + noise,
                            "-c:v", "rawvideo", "-pix_fmt", "bgr24", folder / "video.avi"}));
        const std::string frames = decoded_frames(folder, folder / "film.avi");
        for (size_t at = 0; at + FRAME <= frames.size(); at += FRAME) film.push_back(frames.substr(at, FRAME));
        ASSERT_EQ(film.size(), size_t{FILM_FRAMES});
    }

    static void choose(bool top_first) {
        const std::pair<int, int> choices[] = {
            {STR_FILTER_DEINTERLACE, 4}, {STR_FILTER_RATE_CHANGE, 1}, {STR_FILTER_FIELD_ORDER, top_first ? 1 : 0}};
        for (const auto& [name, entry] : choices) {
            filter_select(filter_built_in(name), entry);
            filter_notify_update(filter_built_in(name), FILTER_UPDATE_CHECK | entry);
        }
    }

    void open(bool top_first) {
        choose(top_first);
        ASSERT_EQ(open_file(edit, text_from_utf8(folder / "video.avi").c_str(), 0), 1);
    }

    std::string save() {
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.avi"));
        EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
        return decoded_frames(folder, folder / "out.avi");
    }

    /// Of all frames of an output, how many are a picture of the film, and how many different ones.
    struct SHARE {
        size_t n, whole, different;
    };
    SHARE share(const std::string& frames) const {
        const std::set<std::string> known(film.begin(), film.end());
        std::set<std::string> seen;
        SHARE result = {frames.size() / FRAME, 0, 0};
        for (size_t i = 0; i < result.n; ++i) {
            const std::string frame = frames.substr(i * FRAME, FRAME);
            result.whole += known.count(frame);
            seen.insert(frame);
        }
        result.different = seen.size();
        return result;
    }

    /// Frames that are nearer to one film picture than noise and one wrong field allow.
    size_t near_film(const std::string& frames, double limit) const {
        size_t near = 0;
        for (size_t at = 0; at + FRAME <= frames.size(); at += FRAME) {
            double best = 1e9;
            for (const std::string& picture : film) best = std::min(best, difference(frames.data() + at, picture));
            near += best < limit;
        }
        return near;
    }
    static double difference(const char* a, const std::string& b) {
        int64_t sum = 0;
        for (size_t i = 0; i < FRAME; i += 7) sum += std::abs(uint8_t(a[i]) - uint8_t(b[i]));
        return double(sum) * 7 / double(FRAME);
    }
};

TEST_F(Telecine, CleanPulldownGivesBackTheFilm) {
    for (const bool top_first : {true, false}) {
        make(top_first ? "top" : "bottom", "");
        open(top_first);
        const SHARE got = share(save());
        EXPECT_EQ(probe(folder / "out.avi", "v", "stream=r_frame_rate"), "24000/1001");
        EXPECT_GE(got.n, size_t{FILM_FRAMES} - 1);
        EXPECT_EQ(got.whole, got.n) << "top first " << top_first;
        EXPECT_EQ(got.different, got.n) << "a film frame came twice, top first " << top_first;
        close_edit(edit);
        film.clear();
    }
}

TEST_F(Telecine, ProfileFromTheCommandLine) {
    make("top", "");
    choose(true);
    const std::vector<uint8_t> config = filter_config_build();
    std::filesystem::create_directories(folder / "home");
    file_put_bytes(folder / "home/film.cfg", std::string(config.begin(), config.end()));
    const COMMAND_OUTPUT run = vantel(folder, {folder / "video.avi", "-p", "film", "-o", folder / "out.avi", "-q"});
    ASSERT_EQ(run.status, 0) << run.error;
    const SHARE got = share(decoded_frames(folder, folder / "out.avi"));
    EXPECT_EQ(got.whole, got.n);
    EXPECT_EQ(probe(folder / "out.avi", "v", "stream=r_frame_rate"), "24000/1001");
}

// Cuts change the phase of the pulldown; only frames next to a cut may have lost a field for good.
TEST_F(Telecine, PhaseChangesAtCuts) {
    make("top", "");
    open(true);
    for (const int cut : {90, 61, 33}) {
        for (int i = cut; i + 2 < edit->frame_n; ++i) frame_entry_copy(i, i + 2);
        edit->frame_n -= 2;
    }
    edit->select_end = edit->frame_n - 1;
    const SHARE got = share(save());
    std::printf("cuts: %zu of %zu output frames are film frames, %zu different\n", got.whole, got.n, got.different);
    EXPECT_GE(got.whole * 100, got.n * 90);
}

TEST_F(Telecine, NoiseIsMeasured) {
    constexpr double LIMIT = 3.2;  // mean difference, levels
    make("top", ",noise=alls=10:allf=t");
    open(true);
    const std::string frames = save();
    const size_t n = frames.size() / FRAME, near = near_film(frames, LIMIT);
    std::printf("noise: %zu of %zu output frames are whole film frames\n", near, n);
    EXPECT_GE(near * 100, n * 90);
    // The limit tells woven frames from whole ones: of the video itself two in five are woven.
    const std::string video = decoded_frames(folder, folder / "video.avi");
    EXPECT_NEAR(double(near_film(video, LIMIT)) / (double(video.size()) / FRAME), 0.6, 0.05);
}
