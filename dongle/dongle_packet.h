// SPDX-License-Identifier: MIT
// The 48-byte packet that carries one AMBE frame to the software dongle, and the one that asks for it.
//
//   offset   0        4      5      6          18             46      48
//          ┌────────┬──────┬──────┬──────────┬──────────────┬───────┐
//          │ "AMBE" │ kind │ 12   │ frame    │ 28 zeros     │ check │
//          └────────┴──────┴──────┴──────────┴──────────────┴───────┘
//
// kind: 0 empty (prepared, or the dongle's request), 1 frame. check: CRC-16/CCITT (polynomial 1021, start FFFF) over
// the first 46 bytes, high byte first.
#pragma once

#include <cstdint>
#include <span>

#include "ambe/ambe_frame.h"
#include "link/dongle.h"

using PacketBytes = std::span<std::uint8_t, ambe_packet_bytes>;

// Makes `packet` one without a frame.
void dongle_packet_prepare(PacketBytes packet);

// Makes `packet` one that carries `frame`; what it was before does not matter.
void dongle_packet_build(PacketBytes packet, FrameBytes frame);

// The 12 bytes of the frame inside `packet`; null when it is not a whole and sound packet with a frame.
const std::uint8_t* dongle_packet_frame(std::span<const std::uint8_t, ambe_packet_bytes> packet);
