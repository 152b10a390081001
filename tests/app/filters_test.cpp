#include "app/save_fixture.h"
#include "resources/string_ids.h"

struct CHOICE {
    int filter;
    std::vector<int32_t> tracks = {}, checks = {}, extra = {};
};

/// Files that come out of the built-in filters, whatever threads and vector kernels the settings ask for.
struct FilterFiles : SAVE_FIXTURE {
    static inline const std::vector<CHOICE> ALL = {
        {STR_FILTER_NOISE, {256, 3, 40}},
        {STR_FILTER_NOISE_TIME, {256, 3, 60}},
        {STR_FILTER_SHARPEN, {200, 2, 8, 600}},
        {STR_FILTER_BLUR, {256, 1, 0, 1024}},
        {STR_FILTER_CLIP, {3, 5, 7, 2}, {}, {77, 61, 0}},
        {STR_FILTER_BORDER, {-3, 4, -5, 6}, {0, 1}},
        {STR_FILTER_COLOR, {10, 30, 20, -15, 40, 7}},
        {STR_FILTER_COLOR_EXTENDED, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {0, 1, 0}},
        {STR_FILTER_SIZE}};

    static void choose(const CHOICE& choice) {
        FILTER* filter = filter_built_in(choice.filter);
        std::copy(choice.tracks.begin(), choice.tracks.end(), filter->track_values);
        std::copy(choice.checks.begin(), choice.checks.end(), filter->check_values);
        if (!choice.extra.empty()) std::memcpy(filter->extra_data, choice.extra.data(), choice.extra.size() * 4);
        if (choice.filter == STR_FILTER_SIZE) filter_select(filter, 4);  // 320x240
        filter_set_active(filter, true);
    }

    /// The file that one setting of vantel.ini gives, "" when the program failed.
    std::string saved(const std::string& settings) {
        file_put_bytes(folder / "home/vantel.ini", "[system]\n" + settings);
        if (vantel(folder, {folder / "clip.avi", "-p", "p", "-o", out, "-q"}).status != 0) return "";
        return file_bytes(out);
    }

    /// True when every setting gives the file that the plain kernels give on one thread, and the filters did something.
    void expect_same(const std::string& what, const std::vector<std::string>& all_settings) {
        keep_profile("p");
        for (const std::string mode : {"", "yuy2mode=1\n"}) {
            const std::string plain = saved(mode + "multithread=1\nsse=0\nsse2=0\n");
            ASSERT_FALSE(plain.empty()) << what;
            EXPECT_TRUE(plain != unfiltered[mode]) << what << " changes nothing; " << mode;
            for (const std::string& settings : all_settings)
                EXPECT_TRUE(saved(mode + settings) == plain) << what << ": " << mode << settings;
        }
    }

    std::map<std::string, std::string> unfiltered;

    void SetUp() override {
        SAVE_FIXTURE::SetUp();
        pattern(RAW_VIDEO, 5, "99x75,noise=alls=12:allf=t:all_seed=3", "clip.avi");
        keep_profile("p");
        for (const std::string mode : {"", "yuy2mode=1\n"}) unfiltered[mode] = saved(mode);
    }
};

TEST_F(FilterFiles, EachFilterAlone) {
    for (const CHOICE& choice : ALL) {
        filter_all_off();
        filter_select(filter_built_in(STR_FILTER_SIZE), 0);
        choose(choice);
        expect_same("filter " + std::to_string(choice.filter), {"multithread=7\n"});
    }
}

TEST_F(FilterFiles, AllTogetherInDefaultAndChangedOrder) {
    const std::vector<std::string> settings = {"multithread=1\n",  "multithread=2\nsse2=0\n", "multithread=7\n",
                                               "saveunitsize=0\n", "saveunitsize=1\n",        "cache=2\n"};
    for (const CHOICE& choice : ALL) choose(choice);
    expect_same("default order", settings);
    const std::string by_default = saved("");
    int order = 100;
    for (const CHOICE& choice : ALL) filter_built_in(choice.filter)->chain_order = order -= 10;
    filter_chain_rebuild();
    expect_same("changed order", settings);
    EXPECT_TRUE(saved("") != by_default) << "the order is not kept by the profile";
}
