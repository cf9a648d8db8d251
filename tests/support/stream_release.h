// SPDX-License-Identifier: MIT
// The program never releases a codec stream; a test does, so that a leak is seen.
#pragma once

#include <gsm.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "codec/codec_stream.h"

struct StreamRelease {
    void operator()(CodecStream* stream) const {
        if (stream->name == std::string("GSM 06.10")) {
            gsm_destroy(static_cast<gsm>(stream->codec_private));
        } else {
            std::free(stream->codec_private);
        }
        std::free(stream->ibuff);
        std::free(stream->obuff);
        std::free(stream);
    }
};
using StreamPtr = std::unique_ptr<CodecStream, StreamRelease>;
