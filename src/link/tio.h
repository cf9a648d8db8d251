// SPDX-License-Identifier: MIT
// The serial line to the vocoder.
#pragma once

#include <termios.h>

#include <cstdint>

// Called back by the vocoder library: exported from the program under these names.
extern "C" {
[[gnu::visibility("default")]] int tio_open(const char* path);
[[gnu::visibility("default")]] int tio_speed(const char* name);
[[gnu::visibility("default")]] int tio_read(void* buffer, int length);
[[gnu::visibility("default")]] int tio_write(const void* buffer, int length);
[[gnu::visibility("default")]] int tio_close();
}

int TIO_Gstate(int descriptor, termios* state);
int TIO_Sstate(int descriptor, const termios* state);
int tio_raw_mode(termios* state, int console);
int tio_flow(int on);
int tio_local(int on);
int tio_parity(const char* parity);
int tio_stopbits(const char* bits);
int tio_databits(const char* bits);
int tio_break();
std::int16_t tio_timeout(std::int16_t seconds);
int tio_peek(int descriptor);

const char* tio_last_error();
