// SPDX-License-Identifier: MIT
// What the program prints, to the letter.
#pragma once

#include <string>

extern const std::string usage_line;
extern const std::string no_device_line;
extern const std::string device_line;

std::string banner();
std::string codec_line(const std::string& name = "Linear PCM");
// From the banner to the empty line in front of the first file.
std::string convert_start_up(const std::string& codec = "Linear PCM");
std::string play_start_up();
// `turns` turns of the spinner, from its first face.
std::string spinner(int turns);
// Teardown on standard error, for `files` files.
std::string convert_teardown(int files = 1);
std::string play_teardown(int files = 1);
