// SPDX-License-Identifier: MIT
#pragma once

#include "ambe/ambe_frame.h"

// The fields of a frame in the order in which they are numbered: b0..b8.
inline constexpr int AmbeFrame::*frame_fields[] = {
    &AmbeFrame::pitch_index,  &AmbeFrame::voicing_index, &AmbeFrame::gain_index,
    &AmbeFrame::prba24_index, &AmbeFrame::prba58_index,  &AmbeFrame::hoc1_index,
    &AmbeFrame::hoc2_index,   &AmbeFrame::hoc3_index,    &AmbeFrame::hoc4_index,
};
