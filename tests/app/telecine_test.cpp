#include "app/save_fixture.h"
#include "resources/string_ids.h"

/// A film that ffmpeg spreads over the fields of 29.97 fps video, and what the 24 fps method makes of it.
struct Telecine : SAVE_FIXTURE {
    static constexpr size_t FRAME = 320 * 240 * 3;
    static constexpr int FILM_FRAMES = 96;

    std::vector<std::string> film;  // its pictures

    void make(const std::string& order) {
        ffmpeg_make("-f lavfi -i testsrc2=rate=24000/1001:size=320x240 -frames:v " + std::to_string(FILM_FRAMES) +
                    " -c:v rawvideo -pix_fmt bgr24 " + (folder / "film.avi"));
        ffmpeg_make("-i " + (folder / "film.avi") + " -vf telecine=first_field=" + order +
                    ":pattern=23 -c:v rawvideo -pix_fmt bgr24 " + (folder / "video.avi"));
        const std::string frames = decoded_frames(folder, folder / "film.avi");
        for (size_t at = 0; at + FRAME <= frames.size(); at += FRAME) film.push_back(frames.substr(at, FRAME));
        ASSERT_EQ(film.size(), size_t{FILM_FRAMES});
    }

    void choose(bool top_first) {
        choose_entry(STR_FILTER_DEINTERLACE, 4);
        choose_entry(STR_FILTER_RATE_CHANGE, 1);
        choose_entry(STR_FILTER_FIELD_ORDER, top_first);
        open(folder / "video.avi");
    }
    /// Of all frames of an output, how many are a picture of the film, and how many different ones.
    struct SHARE {
        size_t n, whole, different;
    };
    SHARE saved() {
        EXPECT_EQ(save(), 1);
        const std::string frames = decoded_frames(folder, out);
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
};

TEST_F(Telecine, CleanPulldownGivesBackTheFilm) {
    for (const bool top_first : {true, false}) {
        make(top_first ? "top" : "bottom");
        choose(top_first);
        const SHARE got = saved();
        EXPECT_EQ(probe(out, "v", "stream=r_frame_rate"), "24000/1001");
        EXPECT_GE(got.n, size_t{FILM_FRAMES} - 1);
        EXPECT_EQ(got.whole, got.n) << "top first " << top_first;
        EXPECT_EQ(got.different, got.n) << "a film frame came twice, top first " << top_first;
        close_edit(edit);
        film.clear();
    }
}

// Cuts change the phase of the pulldown; only frames next to a cut may have lost a field for good.
TEST_F(Telecine, PhaseChangesAtCuts) {
    make("top");
    choose(true);
    for (const int cut : {90, 61, 33}) {
        for (int i = cut; i + 2 < edit->frame_n; ++i) frame_entry_copy(i, i + 2);
        edit->frame_n -= 2;
    }
    select_all();
    const SHARE got = saved();
    EXPECT_GE(got.whole * 100, got.n * 90);
}
