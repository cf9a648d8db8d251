// SPDX-License-Identifier: MIT
#include "golden_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "support/temp_dir.h"

namespace {

constexpr std::size_t dvtool_header_bytes = 10;
constexpr std::size_t frame_in_record = 15;

// A cell behind the last comma is empty and counts.
std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> fields{""};
    for (const char c : line)
        if (c == ',')
            fields.emplace_back();
        else
            fields.back() += c;
    return fields;
}

std::size_t length_at(const Bytes& content, std::size_t at) {
    return content[at] + 256u * content[at + 1];
}

AmbeFrameBytes frame_at(const Bytes& content, std::size_t at) {
    AmbeFrameBytes frame;
    std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(at), frame.size(), frame.begin());
    return frame;
}

}  // namespace

std::string data_path(const std::string& name) {
    return std::string(TEST_DATA_DIR) + "/" + name;
}

std::vector<GoldenRow> golden_table(const std::string& name) {
    const Bytes content = read_file(data_path(name));
    std::istringstream text(std::string(content.begin(), content.end()));
    std::string line;
    std::getline(text, line);
    const std::vector<std::string> columns = split(line);

    std::vector<GoldenRow> rows;
    while (std::getline(text, line)) {
        const std::vector<std::string> fields = split(line);
        EXPECT_EQ(fields.size(), columns.size()) << name << ": " << line.substr(0, 60);
        GoldenRow& row = rows.emplace_back();
        for (std::size_t i = 0; i < fields.size() && i < columns.size(); i++) row[columns[i]] = fields[i];
    }
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}

int whole(const GoldenRow& row, const std::string& column) {
    return std::stoi(row.at(column));
}

double real(const GoldenRow& row, const std::string& column) {
    return std::stod(row.at(column));
}

std::vector<double> reals(const GoldenRow& row, const std::string& column) {
    std::istringstream text(row.at(column));
    std::vector<double> values;
    for (double value = 0; text >> value;) values.push_back(value);
    return values;
}

std::vector<AmbeFrameBytes> raw_frames(const std::string& name) {
    const Bytes content = read_file(data_path(name));
    EXPECT_EQ(content.size() % 12, 0U) << name;
    std::vector<AmbeFrameBytes> frames;
    for (std::size_t at = 0; at + 12 <= content.size(); at += 12) frames.push_back(frame_at(content, at));
    return frames;
}

//   offset  0               10   12          12 + L0
//          ┌───────────────┬────┬───────────┬───┬────────────────────────────────┐
//          │ DVTOOL header │ L0 │ L0 bytes  │ L │ L bytes, the frame at 15 to 26 │  length + record, again and again
//          └───────────────┴────┴───────────┴───┴────────────────────────────────┘
std::vector<AmbeFrameBytes> dvtool_frames(const std::string& name) {
    const Bytes content = read_file(data_path(name));
    std::vector<AmbeFrameBytes> frames;
    std::size_t at = dvtool_header_bytes + 2 + length_at(content, dvtool_header_bytes);
    while (at + 2 + frame_in_record + 12 <= content.size()) {
        frames.push_back(frame_at(content, at + 2 + frame_in_record));
        at += 2 + length_at(content, at);
    }
    return frames;
}
