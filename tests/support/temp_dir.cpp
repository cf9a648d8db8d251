// SPDX-License-Identifier: MIT
#include "support/temp_dir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

Bytes read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    // As a whole: byte by byte an emulated processor takes minutes for a file of 20 MB.
    std::ostringstream content;
    content << file.rdbuf();
    return bytes_of(content.str());
}

void write_file(const std::string& path, const Bytes& content) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    file.close();
    EXPECT_TRUE(file) << path;
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quaver_test_XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
