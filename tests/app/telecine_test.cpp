#include <set>

#include "app/app.h"
#include "core/edit_fixture.h"
#include "hosts/filter.h"
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

    std::string save(bool top_first) {
        filter_select(filter_built_in(STR_FILTER_DEINTERLACE), 4);
        filter_select(filter_built_in(STR_FILTER_RATE_CHANGE), 1);
        filter_select(filter_built_in(STR_FILTER_FIELD_ORDER), top_first ? 1 : 0);
        EXPECT_EQ(open_file(edit, text_from_utf8(folder / "video.avi").c_str(), 0), 1);
        text_copy(edit->save_name, PATH_SIZE, text_from_utf8(folder / "out.avi"));
        EXPECT_EQ(save_run(edit, SAVE_REQ_QUIET), 1);
        EXPECT_EQ(probe(folder / "out.avi", "v", "stream=r_frame_rate"), "24000/1001");
        return decoded_frames(folder, folder / "out.avi");
    }
};

TEST_F(Telecine, CleanPulldownGivesBackTheFilm) {
    for (const bool top_first : {true, false}) {
        make(top_first ? "top" : "bottom", "");
        const std::string frames = save(top_first);
        const std::set<std::string> known(film.begin(), film.end());
        std::set<std::string> seen;
        size_t whole = 0;
        const size_t n = frames.size() / FRAME;
        for (size_t i = 0; i < n; ++i) {
            const std::string frame = frames.substr(i * FRAME, FRAME);
            whole += known.count(frame);
            seen.insert(frame);
        }
        EXPECT_GE(n, size_t{FILM_FRAMES} - 1);
        EXPECT_EQ(whole, n) << "top first " << top_first;
        EXPECT_EQ(seen.size(), n) << "a film frame came twice, top first " << top_first;
        close_edit(edit);
        film.clear();
    }
}
