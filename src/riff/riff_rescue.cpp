// SPDX-License-Identifier: MIT
#include "riff/riff_rescue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "riff/fourcc.h"

namespace {

constexpr std::int64_t int_bytes = 4;  // an identifier or a size in the file
constexpr std::int64_t outer_size_position = 4;
constexpr std::size_t outer_header_bytes = 12;  // identifier, size, form type
constexpr std::size_t chunk_header_bytes = 8;
constexpr std::size_t largest_head_bytes = outer_header_bytes + chunk_header_bytes + sizeof(WaveFormat);
constexpr int no_descriptor = -1;

// A signal handler reads these. The head is complete before one of the first two is set.
const char* volatile path_of_new_file = nullptr;  // from begin to attach
volatile int descriptor = no_descriptor;          // from attach to end: the stream's own
std::FILE* stream = nullptr;                      // along with the descriptor
volatile std::int64_t data_size_position;
std::size_t head_bytes;
std::uint8_t head[largest_head_bytes];

void put_int(std::uint8_t* place, std::uint32_t value) {
    for (int i = 0; i < int_bytes; i++) place[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

void put_identifier(std::uint8_t* place, std::uint32_t code) {
    put_int(place, fourcc_reversed(code));
}

bool write_at(int file, std::int64_t position, const std::uint8_t* bytes, std::size_t count) {
    const auto wanted = static_cast<ssize_t>(count);
    return lseek(file, static_cast<off_t>(position), SEEK_SET) == position && write(file, bytes, count) == wanted;
}

void write_size(int file, std::int64_t position, std::int64_t size) {
    std::uint8_t bytes[int_bytes];
    put_int(bytes, static_cast<std::uint32_t>(size));
    write_at(file, position, bytes, sizeof bytes);
}

// A file of no or half a head gets a whole one and no data. Sizes are taken from the file's length.
void make_whole(int file, std::int64_t length) {
    if (length < static_cast<std::int64_t>(head_bytes)) {
        write_at(file, 0, head, head_bytes);
        return;
    }
    write_size(file, outer_size_position, length);
    const std::int64_t data_position = data_size_position + int_bytes;
    if (length >= data_position) write_size(file, data_size_position, length - data_position);
}

bool is_regular(int file, struct stat* status) {
    return fstat(file, status) == 0 && S_ISREG(status->st_mode);
}

// The file is left alone when it is not empty: it was not truncated yet, or is somebody else's.
void rescue_new_file(const char* path) {
    const int file = open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) return;
    struct stat status = {};
    if (is_regular(file, &status) && status.st_size == 0) make_whole(file, 0);
    close(file);
}

// The stream's own place in the file stays as it was.
void rescue_open_file() {
    struct stat status = {};
    if (!is_regular(descriptor, &status)) return;
    const off_t before = lseek(descriptor, 0, SEEK_CUR);
    make_whole(descriptor, status.st_size);
    lseek(descriptor, before, SEEK_SET);
}

}  // namespace

void riff_rescue_begin(const char* path, std::uint32_t form_type, WaveFormat format) {
    wave_format_complete(&format);
    format.extra_bytes = 0;
    const std::size_t body_bytes = wave_format_bytes(format);
    const std::size_t whole = outer_header_bytes + chunk_header_bytes + body_bytes;
    put_identifier(head, fourcc("RIFF"));
    put_int(head + 4, static_cast<std::uint32_t>(whole));
    put_identifier(head + 8, form_type);
    put_identifier(head + 12, fourcc("fmt "));
    put_int(head + 16, static_cast<std::uint32_t>(body_bytes));
    std::memcpy(head + 20, &format, body_bytes);
    head_bytes = whole;
    data_size_position = static_cast<std::int64_t>(whole) + int_bytes;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    path_of_new_file = path;
}

void riff_rescue_attach(const RiffFile& file) {
    stream = file.stream;
    descriptor = fileno(file.stream);
    path_of_new_file = nullptr;
}

void riff_rescue_note(const RiffFile& file) {
    // A place inside the head is none: the position could not be told.
    if (file.data_patch_position >= static_cast<std::int64_t>(head_bytes))
        data_size_position = file.data_patch_position;
}

void riff_rescue_end() {
    descriptor = no_descriptor;
    stream = nullptr;
    path_of_new_file = nullptr;
}

void riff_rescue_in_signal() {
    const char* path = path_of_new_file;
    if (descriptor != no_descriptor) {
        rescue_open_file();
    } else if (path != nullptr) {
        rescue_new_file(path);
    }
}

void riff_rescue_at_exit() {
    if (stream != nullptr) std::fflush(stream);
    riff_rescue_in_signal();
}
