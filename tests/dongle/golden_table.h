// SPDX-License-Identifier: MIT
// The files of tests/data: tables with a header line, and the golden frames that belong to some of them.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Column name to text.
using GoldenRow = std::map<std::string, std::string>;
using FrameOfBytes = std::array<std::uint8_t, 12>;

// `path` is a file of tests/data; the test fails when it cannot be read.
std::vector<GoldenRow> data_table(const std::string& path);

// `name` is a file of tests/data/golden; the test fails when it cannot be read.
std::vector<GoldenRow> golden_table(const std::string& name);
std::vector<FrameOfBytes> golden_frames(const std::string& name);

int whole(const GoldenRow& row, const std::string& column);
double real(const GoldenRow& row, const std::string& column);
std::vector<double> reals(const GoldenRow& row, const std::string& column);
