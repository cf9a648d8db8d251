// SPDX-License-Identifier: MIT
#include "dongle/golden_table.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/temp_dir.h"

namespace {

const std::string golden = "golden/";

Bytes data_file(const std::string& path) {
    return read_file(std::string(TEST_DATA_DIR) + "/" + path);
}

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> fields{""};
    for (const char c : line)
        if (c == ',')
            fields.emplace_back();
        else
            fields.back() += c;
    return fields;
}

}  // namespace

std::vector<GoldenRow> data_table(const std::string& path) {
    const Bytes content = data_file(path);
    std::istringstream text(std::string(content.begin(), content.end()));
    std::string line;
    std::getline(text, line);
    const std::vector<std::string> columns = split(line);

    std::vector<GoldenRow> rows;
    while (std::getline(text, line)) {
        const std::vector<std::string> fields = split(line);
        EXPECT_EQ(fields.size(), columns.size()) << path << ": " << line.substr(0, 60);
        GoldenRow& row = rows.emplace_back();
        for (std::size_t i = 0; i < fields.size() && i < columns.size(); i++) row[columns[i]] = fields[i];
    }
    EXPECT_FALSE(rows.empty()) << path;
    return rows;
}

std::vector<GoldenRow> golden_table(const std::string& name) {
    return data_table(golden + name);
}

std::vector<FrameOfBytes> golden_frames(const std::string& name) {
    const Bytes content = data_file(golden + name);
    EXPECT_EQ(content.size() % 12, 0U) << name;
    std::vector<FrameOfBytes> frames(content.size() / 12);
    for (std::size_t i = 0; i < content.size() / 12 * 12; i++) frames[i / 12][i % 12] = content[i];
    return frames;
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
