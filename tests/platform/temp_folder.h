#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A new empty folder for one test, gone with it.
struct TEMP_FOLDER {
    std::string path;  // with a separator at its end

    TEMP_FOLDER() {
        std::string name = testing::TempDir() + "vantel_test_XXXXXX";
        path = std::string(mkdtemp(name.data())) + '/';
    }
    TEMP_FOLDER(const TEMP_FOLDER&) = delete;
    TEMP_FOLDER& operator=(const TEMP_FOLDER&) = delete;
    ~TEMP_FOLDER() {
        std::error_code error;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all, error);
        std::filesystem::remove_all(path, error);
    }
    std::string operator/(const std::string& name) const { return path + name; }
};

inline void text_save(const std::string& path, const std::string& data) {
    std::ofstream(path, std::ios::binary) << data;
}

inline std::string text_load(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
