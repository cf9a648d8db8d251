// SPDX-License-Identifier: MIT
// A directory that lives as long as the test, and whole files as byte strings.
#pragma once

#include <string>

#include "support/bytes.h"

// The whole file; the test fails when it cannot be read.
Bytes read_file(const std::string& path);
void write_file(const std::string& path, const Bytes& content);

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    // The path of `name` in the directory.
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};
