// SPDX-License-Identifier: MIT
// The files of tests/data: tables with a header line, and the frames of recordings. `name` is a path below tests/data;
// the test fails when it cannot be read.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

using AmbeFrameBytes = std::array<std::uint8_t, 12>;

// Column name to text.
using GoldenRow = std::map<std::string, std::string>;
std::vector<GoldenRow> golden_table(const std::string& name);
int whole(const GoldenRow& row, const std::string& column);
double real(const GoldenRow& row, const std::string& column);
std::vector<double> reals(const GoldenRow& row, const std::string& column);

std::vector<AmbeFrameBytes> raw_frames(const std::string& name);
std::vector<AmbeFrameBytes> dvtool_frames(const std::string& name);

std::string data_path(const std::string& name);
