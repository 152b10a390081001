#include "hosts/filter_settings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "hosts/filter.h"
#include "support/command.h"

namespace {

const std::string HEAD("Vantel FilterConfigFile version 0.1\0", 36);

std::string words(std::initializer_list<int64_t> values) {
    std::string out;
    for (const int64_t value : values)
        for (int i = 0; i < 4; ++i) out += char(uint32_t(value) >> 8 * i);
    return out;
}

std::string record(const std::string& section, const std::vector<std::string>& blocks) {
    std::string rest = section + '\0' + words({int64_t(blocks.size())});
    for (const std::string& block : blocks) rest += words({int64_t(block.size())});
    for (const std::string& block : blocks) rest += block;
    return words({int64_t(rest.size()) + 4}) + rest;
}

constexpr int32_t SHARP_DEFAULTS[] = {5, 20}, SHARP_LOWS[] = {-10, 0}, SHARP_HIGHS[] = {10, 100};
constexpr int32_t SHARP_CHECKS[] = {0, 1, -1}, LIST_CHECKS[] = {-1, 0, 1, 0}, GROUP_CHECKS[] = {1, 0};
constexpr uint8_t EXTRA_DEFAULTS[3] = {7, 8, 9};
uint8_t extra[3];
std::string updates;  // names of the filters told of status 0, and '!' for any other

FILTER plain_record(const char* name, uint32_t flags, std::span<const int32_t> checks) {
    static const char* labels[4] = {"a", "b", "c", "d"};
    FILTER filter = {};
    filter.flags = flags;
    filter.name = name;
    filter.track_labels = filter.check_labels = labels;
    filter.check_count = int(checks.size());
    filter.check_defaults = checks.data();
    filter.func_proc = [](FILTER*, FILTER_PROC_PARAM*) { return 1; };
    filter.func_update = [](FILTER* f, int32_t status) {
        updates += status == 0 ? f->name : "!";
        return 1;
    };
    return filter;
}

/// The built-in filters and, behind them, S (tracks, checks, extra data), L (a menu list) and G (a radio group).
struct FilterSettings : testing::Test {
    TEMP_FOLDER_PATH folder;
    FILTER *sharp, *list, *group;
    std::string path = folder / "p.cfg";
    FilterSettings() {
        FILTER s = plain_record("S", FILTER_F_EXTRA_DATA | FILTER_F_NO_WINDOW, SHARP_CHECKS);
        s.track_count = 2, s.extra_size = 3, s.extra_data = extra, s.extra_defaults = EXTRA_DEFAULTS;
        s.track_defaults = SHARP_DEFAULTS, s.track_lows = SHARP_LOWS, s.track_highs = SHARP_HIGHS;
        FILTER l = plain_record("L", FILTER_F_ALWAYS_ON | FILTER_F_MENU_RADIO, LIST_CHECKS);
        l.func_proc = nullptr;
        const FILTER g = plain_record("G", FILTER_F_RADIO_CHECKS | FILTER_F_NO_WINDOW, GROUP_CHECKS);
        sharp = filter_plugin_add(&s, this, "", "f");
        list = filter_plugin_add(&l, this, "", nullptr);
        group = filter_plugin_add(&g, this, "", nullptr);
        filter_system_init(nullptr, this);
    }
    ~FilterSettings() override { filter_system_exit(); }

    static std::string built() {
        const std::vector<uint8_t> bytes = filter_config_build();
        return {bytes.begin(), bytes.end()};
    }
    static void apply(const std::string& file) {
        updates.clear();
        filter_config_apply({reinterpret_cast<const uint8_t*>(file.data()), file.size()});
    }
    std::string sharp_record(const std::string& tracks) const {
        return record("<f>S", {words({1}), words({3}), tracks, words({1, 0, 9}), "\1\2\3"});
    }
    void expect_sharp_defaults() const {
        EXPECT_FALSE(sharp->flags & FILTER_F_ACTIVE);
        EXPECT_EQ(sharp->chain_order, filter_default_order(sharp));
        EXPECT_TRUE(std::equal(SHARP_DEFAULTS, std::end(SHARP_DEFAULTS), sharp->track_store));
        EXPECT_TRUE(std::equal(SHARP_CHECKS, std::end(SHARP_CHECKS), sharp->check_store));
        EXPECT_TRUE(std::equal(extra, std::end(extra), EXTRA_DEFAULTS));
    }
};

ino_t file_number(const std::string& path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

bool in_chain(const FILTER* filter) {
    FILTER* const* at = filter_chain();
    while (*at && *at != filter) ++at;
    return *at;
}

TEST_F(FilterSettings, FileIsHeadAndOneRecordAFilter) {
    apply(HEAD + sharp_record(words({-3, 77})) + record("L", {words({0}), words({0}), "", words({0, 1, 0, 0})}));
    const std::string file = built();
    const std::string tail = record("<f>S", {words({FILTER_F_EXTRA_DATA | FILTER_F_NO_WINDOW | FILTER_F_ACTIVE}),
                                             words({3}), words({-3, 77}), words({1, 0, -1}), "\1\2\3"}) +
                             record("L", {words({FILTER_F_ALWAYS_ON | FILTER_F_MENU_RADIO | FILTER_F_ACTIVE}),
                                          words({-1}), "", words({-1, 1, 0, 0})}) +
                             record("G", {words({FILTER_F_RADIO_CHECKS | FILTER_F_NO_WINDOW}),
                                          words({filter_default_order(group)}), "", words({1, 0})});
    ASSERT_GT(file.size(), HEAD.size() + tail.size());
    EXPECT_EQ(file.substr(0, 36), HEAD);
    EXPECT_EQ(file.substr(file.size() - tail.size()), tail);
}

TEST_F(FilterSettings, RoundTripThroughAFileThatOnlyChangesWithTheValues) {
    filter_config_load(path.c_str());
    EXPECT_EQ(file_number(path), 0u);
    sharp->track_store[0] = 9;
    sharp->chain_order = 90;
    extra[1] = 200;
    filter_set_active(sharp, true);
    filter_select(list, 3);
    filter_config_save();
    const std::string stored = file_bytes(path);
    EXPECT_EQ(stored, built());
    filter_config_load((folder / "none.cfg").c_str());
    expect_sharp_defaults();
    EXPECT_EQ(filter_selected(list), 2);
    filter_config_load(path.c_str());
    EXPECT_EQ(built(), stored);
    EXPECT_EQ(filter_selected(list), 3);
    EXPECT_TRUE(in_chain(sharp));
    const ino_t number = file_number(path);
    filter_config_save();
    EXPECT_EQ(file_number(path), number);
    sharp->track_store[0] = 8;
    filter_config_save();
    EXPECT_NE(file_bytes(path), stored);
    file_put_bytes(path, stored + "longer");  // by another program, seen by its stamp
    filter_config_load(path.c_str());
    EXPECT_EQ(sharp->track_store[0], 9);
    filter_config_save();
    EXPECT_EQ(file_bytes(path), stored);
}

TEST_F(FilterSettings, StoredValuesAreHeldToTheRecord) {
    apply(HEAD + sharp_record(words({-2000000000, 2000000000})));
    EXPECT_EQ(sharp->track_store[0], -10);
    EXPECT_EQ(sharp->track_store[1], 100);
    EXPECT_EQ(sharp->check_store[2], -1);
    EXPECT_EQ(sharp->flags, uint32_t{FILTER_F_EXTRA_DATA | FILTER_F_NO_WINDOW | FILTER_F_ACTIVE});
    const int own = filter_default_order(sharp);
    for (const auto& [active, order, want] : {std::array{-1, 200, 200}, {-1, 0, 0}, {0, -5, own}}) {
        apply(HEAD + record("<f>S", {words({active}), words({order}), "", "", ""}));
        EXPECT_EQ(sharp->chain_order, want);
        EXPECT_EQ(in_chain(sharp), want != 200);
    }

    // value of each list entry -> the one selected: the first of 1 or more, else the first that can be
    const std::pair<std::string, int> lists[] = {
        {words({-1, 0, 0, 1}), 3}, {words({5, 0, 0, 0}), 1}, {words({-1, 0, 2, 1}), 2}, {words({1, 1}), 2}};
    for (const auto& [values, selected] : lists) {
        apply(HEAD + record("L", {words({0}), words({4}), "", values}));
        EXPECT_EQ(filter_selected(list), selected);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(list->check_store[i], i ? i == selected : -1);
        EXPECT_EQ(list->chain_order, -1);
        EXPECT_TRUE(list->flags & FILTER_F_ACTIVE);
    }
    apply(HEAD + record("G", {words({1}), words({4}), "", words({0, 1})}));
    EXPECT_EQ(group->check_store[0], 0);
    EXPECT_EQ(group->check_store[1], 1);
}

TEST_F(FilterSettings, AMissingBlockCostsOnlyItsDefault) {
    apply(HEAD + sharp_record(words({1, 2, 3})));
    EXPECT_EQ((std::array{sharp->track_store[1], sharp->chain_order, sharp->check_store[0], int{extra[2]}}),
              (std::array{20, 3, 1, 3}));
    EXPECT_EQ(std::ranges::count(updates, 'S'), 1);
    EXPECT_EQ(std::ranges::count(updates, '!'), 0);
    const std::string good = sharp_record(words({1, 2}));
    const auto expect_only_defaults = [&](const std::string& file) {
        apply(HEAD + good);
        EXPECT_EQ(sharp->track_store[0], 1);
        apply(file);
        expect_sharp_defaults();
    };
    std::string other_head = HEAD + good;
    other_head[34] = '2';
    for (const std::string& file : {std::string(), HEAD, other_head, HEAD + record("S", {words({1})})})
        expect_only_defaults(file);
    // a record of the section with too few blocks hides the next one; after an impossible size nothing is read
    const std::string hiding = record("<f>S", {words({1}), words({3}), words({1, 2}), words({1, 0, 9})});
    for (const std::string& before : {hiding, words({0}), words({3}), words({-1}), words({4, -9})})
        expect_only_defaults(std::string(HEAD).append(before).append(good));
}

TEST_F(FilterSettings, CutAndDamagedFilesAreReadInBounds) {
    apply(HEAD + sharp_record(words({1, 2})));
    const std::string whole = built();
    // Memory of the very size, so that a sanitizer sees a byte read too many.
    for (size_t n = 0; n <= whole.size(); ++n) filter_config_apply(std::vector<uint8_t>(&whole[0], &whole[n]));
    EXPECT_EQ(built(), whole);
}

}  // namespace
