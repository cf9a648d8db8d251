// SPDX-License-Identifier: MIT
#include "player/surroundings.h"

#include <stdio.h>

#include <algorithm>

#include "link/dongle.h"

namespace {

constexpr std::size_t output_buffer_bytes = 1 << 20;
constexpr std::size_t receive_buffer_bytes = 400;

ssize_t trace_stream(void* name, const char* text, size_t count) {
    trace_text(surroundings().trace, static_cast<const char*>(name), std::string(text, count));
    return static_cast<ssize_t>(count);
}

FILE* traced_stream(const char* name, int buffering) {
    static char output_buffer[output_buffer_bytes];
    FILE* stream = fopencookie(const_cast<char*>(name), "w", {nullptr, trace_stream, nullptr, nullptr});
    setvbuf(stream, buffering == _IOFBF ? output_buffer : nullptr, buffering, output_buffer_bytes);
    return stream;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\n')
            result += "\\n";
        else if (c == '\b')
            result += "\\b";
        else
            result += c;
    }
    return result;
}

}  // namespace

Surroundings& surroundings() {
    static Surroundings instance;
    return instance;
}

TracedRun::TracedRun(const Surroundings& script) : saved_out_(stdout), saved_err_(stderr) {
    surroundings() = script;
    surroundings().recording = true;
    fflush(nullptr);
    stdout = traced_stream("stdout", _IOFBF);
    stderr = traced_stream("stderr", _IONBF);
}

TracedRun::~TracedRun() {
    surroundings().recording = false;
    fclose(stdout);
    fclose(stderr);
    stdout = saved_out_;
    stderr = saved_err_;
    close_forgotten_files();
}

void trace_call(std::vector<std::string>& trace, const std::string& call) {
    trace.push_back(call);
}

void traced(const std::string& call) {
    trace_call(surroundings().trace, call);
}

void trace_text(std::vector<std::string>& trace, const std::string& stream, const std::string& text) {
    if (text.empty()) return;
    const std::string start = stream + ": ";
    if (trace.empty() || trace.back().compare(0, start.size(), start) != 0) trace.push_back(start);
    trace.back() += escaped(text);
}

std::string block_text(const std::uint8_t* bytes) {
    if (std::all_of(bytes, bytes + pcm_block_bytes, [](std::uint8_t byte) { return byte == 0; })) return "silence";
    std::uint32_t digest = 2166136261U;  // FNV-1a
    for (std::size_t i = 0; i < pcm_block_bytes; i++) digest = (digest ^ bytes[i]) * 16777619U;
    return hex(bytes, 2) + "/" + std::to_string(digest);
}

Bytes packet_bytes(std::uint8_t seed) {
    Bytes content(receive_buffer_bytes);
    for (std::size_t i = 0; i < content.size(); i++) content[i] = static_cast<std::uint8_t>(1 + seed + i * 7 + i / 256);
    return content;
}
