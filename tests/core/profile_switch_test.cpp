#include "core/edit_fixture.h"
#include "core/profile.h"
#include "hosts/filter.h"
#include "hosts/filter_settings.h"
#include "pipeline/frame_cache.h"
#include "pipeline/frame_renderer.h"
#include "platform/file.h"
#include "resources/string_ids.h"

/// Two profiles in the settings folder that differ in the deinterlace method.
struct ProfileSwitch : EDIT_FIXTURE {
    static void write_profile(const char* name, int method) {
        FILTER* filter = filter_built_in(STR_FILTER_DEINTERLACE);
        filter_select(filter, method);
        filter_notify_update(filter, FILTER_UPDATE_CHECK | method);
        const std::vector<uint8_t> config = filter_config_build();
        ASSERT_TRUE(file_replace(profile_path(name, ".cfg").c_str(), config.data(), config.size()));
    }
    std::string rendered(int frame) {
        edit->frame = frame;
        EXPECT_EQ(render_current(edit), 1);
        const uint8_t* pixels = display_convert(edit, 0);
        return {reinterpret_cast<const char*>(pixels), edit->shown_header.biSizeImage};
    }
    std::vector<std::string> rendered_with(const char* profile) {
        text_copy(edit->profile_name[0], PATH_SIZE, profile);
        frame_cache_reset();
        std::vector<std::string> all;
        for (int f = 0; f < edit->frame_n; ++f) all.push_back(rendered(f));
        return all;
    }
};

TEST_F(ProfileSwitch, EachFrameIsRenderedWithItsOwnProfile) {
    write_profile("plain", 0);
    write_profile("blended", 3);
    ASSERT_EQ(open_file(edit, clip("a.avi", {64, 48, 30, 1, 12, 24, 0, 0}).c_str(), 0), 1);
    const std::vector<std::string> plain = rendered_with("plain"), blended = rendered_with("blended");
    text_copy(edit->profile_name[0], PATH_SIZE, "plain");
    text_copy(edit->profile_name[1], PATH_SIZE, "blended");
    for (const int f : {3, 4, 7, 11}) frame_table.frame_profile[f] = 1;
    for (int f = 0; f < edit->frame_n; ++f) {
        const bool other = frame_table.frame_profile[f];
        ASSERT_NE(plain[size_t(f)], blended[size_t(f)]) << f;
        EXPECT_TRUE(rendered(f) == (other ? blended : plain)[size_t(f)]) << f;
        EXPECT_STREQ(profile_current(), other ? "blended" : "plain");
    }
    for (const char* name : {"plain", "blended"}) file_delete(profile_path(name, ".cfg").c_str());
}
