#include "scenes.h"

#include <cstdlib>
#include <memory>
#include <sstream>

#include "app/app.h"

// Looks of the real windows, on a display of the test's own, beside the pictures in scenes/. These are made anew by
//     VANTEL_SCENES_UPDATE=1 build/tests/app_test --gtest_filter='Scenes.*'
// A reference stands for a layout: means of blocks are compared, loosely enough for another font. The picture of the
// clip is compared with the clip itself, to the byte.

namespace {

const std::string REFERENCES = VANTEL_SOURCE_DIR "/tests/app/scenes/";
bool updating() { return std::getenv("VANTEL_SCENES_UPDATE") != nullptr; }
// How far looks may be from each other, see distance(). No text lies in the client area of the main window; other fonts
// move it by 13 in filter windows and 37 in dialogs.
constexpr double LIKE_MAIN = 6, LIKE_MAIN_FINE = 14, LIKE_FILTER = 18, LIKE_DIALOG = 40;

// ---- the program that shows the scenes

/// What it told: "scene.what" and the rest of the line, in order.
using FACTS = std::vector<std::pair<std::string, std::string>>;

FACTS facts_read(const std::string& path) {
    FACTS facts;
    std::istringstream text(file_bytes(path));
    for (std::string name, rest; text >> name && std::getline(text, rest);)
        facts.emplace_back(name, rest.substr(std::min<size_t>(rest.size(), 1)));
    return facts;
}

std::vector<int> numbers(const FACTS& facts, const std::string& name) {
    std::vector<int> list;
    for (const auto& [key, value] : facts) {
        std::istringstream text(value);
        for (int n; key == name && text >> n;) list.push_back(n);
    }
    return list;
}

/// A desktop's dark colours, as its settings tell them.
constexpr char DARK_COLOURS[] =
    "[Colors:Window]\nBackgroundNormal=42,46,50\nForegroundNormal=252,252,252\n"
    "[Colors:View]\nBackgroundNormal=27,30,32\nBackgroundAlternate=35,38,41\nForegroundNormal=252,252,252\n"
    "ForegroundLink=29,153,243\nForegroundVisited=155,89,182\n"
    "[Colors:Button]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n"
    "[Colors:Selection]\nBackgroundNormal=61,174,233\nForegroundNormal=252,252,252\n"
    "[Colors:Tooltip]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n";

struct Scenes : testing::Test {
    static inline std::unique_ptr<DISPLAY_SERVER> server;
    TEMP_FOLDER_PATH folder;
    FACTS facts;

    static void SetUpTestSuite() { server = std::make_unique<DISPLAY_SERVER>(); }
    static void TearDownTestSuite() { server.reset(); }
    void SetUp() override {
        if (server->name.empty()) GTEST_SKIP() << "no Xvfb here (package xvfb)";
    }

    void show(std::vector<std::string> scenes, const std::string& scale = "1", bool dark = false) {
        COMMAND_OPTIONS options;
        options.environment = {"DISPLAY=" + server->name,        "WAYLAND_DISPLAY=",     "QT_QPA_PLATFORM=xcb",
                               "QT_STYLE_OVERRIDE=Fusion",       "QT_FONT_DPI=96",       "QT_SCALE_FACTOR=" + scale,
                               "XDG_CONFIG_HOME=" + folder.path, "XDG_CURRENT_DESKTOP=", "QT_QPA_PLATFORMTHEME="};
        if (dark) {
            file_put_bytes(folder / "kdeglobals", DARK_COLOURS);
            for (const char* entry : {"QT_QPA_PLATFORMTHEME=kde", "XDG_CURRENT_DESKTOP=KDE", "KDE_SESSION_VERSION=5"})
                options.environment.emplace_back(entry);
        }
        scenes.insert(scenes.begin(), {VANTEL_BUILD_DIR "/tests/ui_scenes", folder.path});
        const COMMAND_OUTPUT output = command_run(scenes, options);
        ASSERT_EQ(output.status, 0) << output.error;
        facts = facts_read(folder / "facts.txt");
        ASSERT_EQ(numbers(facts, "all.visible"), std::vector{1});
        ASSERT_EQ(numbers(facts, "all.dark"), std::vector<int>{dark});
    }

    SHOT shot(const std::string& scene) const { return shot_read(folder / (scene + ".png")); }
    AREA client(const std::string& scene, int scale = 1) const {
        const std::vector<int> n = numbers(facts, scene + ".client");
        return n.size() == 4 ? AREA{n[0] * scale, n[1] * scale, n[2] * scale, n[3] * scale} : AREA{};
    }

    static void renew(const std::string& from, const AREA& area, const std::string& to) {
        std::string crop = "crop=";
        for (const int n : {area.width, area.height, area.left, area.top}) crop += std::to_string(n) + ":";
        crop.pop_back();
        ASSERT_TRUE(
            ffmpeg({"-i", from, "-vf", crop, "-pix_fmt", "rgb24", "-pred", "mixed", "-compression_level", "9", to}));
    }

    /// Part of a scene against its reference, of which want_area is looked at; or the reference anew.
    void look(const std::string& scene, const std::string& reference, double like, bool client_alone = false) {
        const SHOT got = shot(scene);
        const AREA area = client_alone ? client(scene) : got.whole();
        ASSERT_GT(got.width, 0) << scene;
        const std::string path = REFERENCES + reference + ".png";
        if (updating()) return renew(folder / (scene + ".png"), area, path);
        const SHOT want = shot_read(path);
        ASSERT_GT(want.width, 0) << path;
        // Another font makes a dialog larger or smaller, but no other one.
        EXPECT_NEAR(double(area.width) / area.height, double(want.width) / want.height, 0.2) << reference;
        const DISTANCE d = distance(want, want.whole(), got, area);
        EXPECT_LT(d.far, like) << reference << " at " << d.where;
    }
    /// The main window, without and with its menus, which are text alone: as much of it as there was.
    void look_main(const std::string& scene, const std::string& reference, double like, int scale = 1) {
        const SHOT got = shot(scene);
        const AREA inside = client(scene, scale);
        ASSERT_GT(inside.top, 0) << scene << " has no menu bar";
        const std::string path = REFERENCES + reference + ".png";
        if (updating()) {
            if (scale == 1) renew(folder / (scene + ".png"), got.whole(), path);
            return;
        }
        const SHOT want = shot_read(path);
        const int want_top = want.height - inside.height / scale;
        ASSERT_GT(want_top, 0) << path;
        ASSERT_EQ(want.width * scale, inside.width);
        const DISTANCE d = distance(want, {0, want_top, want.width, want.height - want_top}, got, inside);
        EXPECT_LT(d.far, like) << reference << " at " << d.where;
        const MEAN want_menu = mean_of(want, 0, 0, want.width, want_top);
        const MEAN menu = mean_of(got, 0, 0, got.width, inside.top);
        for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(menu[c], want_menu[c], 8) << reference;
    }
    /// Each control that a scene tells of is to be seen.
    void expect_drawn(const std::string& scene, size_t at_least) {
        const SHOT got = shot(scene);
        const std::vector<int> spots = numbers(facts, scene + ".spot");
        EXPECT_GE(spots.size() / 4, at_least) << scene;
        for (size_t i = 0; i + 3 < spots.size(); i += 4) {
            const AREA spot = {spots[i], spots[i + 1], spots[i + 2], spots[i + 3]};
            const bool inside = spot.width > 0 && spot.height > 0 && spot.left >= 0 && spot.top >= 0 &&
                                spot.left + spot.width <= got.width && spot.top + spot.height <= got.height;
            ASSERT_TRUE(inside) << scene << " control " << i / 4;
            EXPECT_FALSE(flat(got, spot)) << scene << " control " << i / 4;
        }
    }

    // The clip as ffmpeg decodes it.
    std::string frames;
    static constexpr int WIDTH = 384, HEIGHT = 288;
    const uint8_t* clip_pixel(int frame, int x, int y) {
        if (frames.empty()) frames = decoded_frames(folder, folder / "clip.avi");
        const size_t at = (size_t(frame) * HEIGHT + size_t(y)) * WIDTH + size_t(x);
        return reinterpret_cast<const uint8_t*>(frames.data()) + at * 3;
    }

    /// The picture's place in the shot of a scene, in the shot's pixels.
    AREA shown_area(const std::string& scene, int scale = 1) const {
        const AREA inside = client(scene, scale);
        const std::vector<int> draw = numbers(facts, scene + ".draw");
        if (draw.size() != 6) return {};
        return {inside.left + draw[0] * scale, inside.top + draw[1] * scale, draw[2] * scale, draw[3] * scale};
    }
    /// The pixels of the clip, each `factor` times in both directions, apart from the selection's mark in the corner.
    void expect_clip(const std::string& scene, int frame, int factor, int scale, bool mark_on_right) {
        const SHOT got_all = shot(scene);
        const AREA area = shown_area(scene, scale);
        ASSERT_GE(area.width, 100) << scene;
        ASSERT_LE(area.left + area.width, got_all.width);
        ASSERT_LE(area.top + area.height, got_all.height);
        const int mark_first = mark_on_right ? area.width - 30 * scale : 6 * scale, mark = 24 * scale;
        int wrong = 0;
        for (int y = 0; y < area.height; ++y)
            for (int x = 0; x < area.width; ++x) {
                if (y >= 6 * scale && y < 30 * scale && x >= mark_first && x < mark_first + mark) continue;
                const uint8_t* got = got_all.at(area.left + x, area.top + y);
                const uint8_t* want = clip_pixel(frame, x / factor, y / factor);
                wrong += got[2] != want[0] || got[1] != want[1] || got[0] != want[2];
            }
        EXPECT_EQ(wrong, 0) << scene;
    }
};

}  // namespace

TEST_F(Scenes, LookAsTheyDid) {
    show({});
    for (const char* scene : {"empty", "clip", "zoom_200", "zoom_window"}) {
        look_main(scene, scene, LIKE_MAIN);
        expect_drawn(scene, 5);
    }
    for (const char* scene : {"noise", "color", "histogram"}) look(scene, scene, LIKE_FILTER);
    look("settings", "settings", LIKE_DIALOG);
    look("save", "save", LIKE_DIALOG, true);  // above its options lie folders of this machine
    for (const auto& [scene, controls] : {std::pair{"noise", 16u}, {"color", 31u}, {"settings", 12u}, {"save", 13u}})
        expect_drawn(scene, controls);

    // Titles, and places that do not depend on a font.
    std::string told;
    for (const auto& [name, value] : facts)
        if (!name.ends_with(".client") && !name.ends_with(".spot")) told += name + " " + value + "\n";
    if (updating()) file_put_bytes(REFERENCES + "places.txt", told);
    EXPECT_EQ(told, file_bytes(REFERENCES + "places.txt"));
}

TEST_F(Scenes, PicturesAreTheClipsOwn) {
    show({"clip", "zoom"});
    expect_clip("clip", 2, 1, 1, false);
    expect_clip("zoom_200", 7, 2, 1, true);
}

TEST_F(Scenes, DarkDesktop) {
    show({"clip", "filters", "settings"}, "1", true);
    look_main("clip", "clip_dark", LIKE_MAIN);
    look("noise", "noise_dark", LIKE_FILTER);
    look("settings", "settings_dark", LIKE_DIALOG);
    for (const char* scene : {"clip", "noise", "settings"}) expect_drawn(scene, 5);
    expect_clip("clip", 2, 1, 1, false);
}

TEST_F(Scenes, TwiceAsManyPixels) {
    show({"clip"}, "2");
    look_main("clip", "clip", LIKE_MAIN_FINE, 2);
    expect_clip("clip", 2, 2, 2, false);  // sharp: each pixel of the clip is four
}
