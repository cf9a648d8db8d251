// SPDX-License-Identifier: MIT
#include "program/wave_run.h"

WaveRun convert_blocks(const std::string& format, const Bytes& pcm) {
    ThreeFrames scenario({"-W", "-F", format});
    scenario.blocks = pcm;
    scenario.script = "recv 48 5\nrecv 320 4 " + std::to_string(pcm.size() / block_bytes) + "\nrest 48 5\n";
    WaveRun run;
    run.outcome = scenario.run();
    run.wave = scenario.file("rec.wav");
    return run;
}

Bytes pcm_head(unsigned data) {
    return bytes_of("RIFF") + low_first_4(44 + data) +  // the whole file, its own head included
           bytes_of("WAVEfmt ") + bytes({16, 0, 0, 0}) +
           bytes({0x01, 0x00, 0x01, 0x00, 0x40, 0x1F, 0x00, 0x00, 0x80, 0x3E, 0x00, 0x00, 0x02, 0x00, 0x10, 0x00}) +
           bytes_of("data") + low_first_4(data);
}

Bytes coded_head(unsigned tag, unsigned byte_rate, unsigned block_align, unsigned bits, unsigned data) {
    return bytes_of("RIFF") + low_first_4(46 + data) + bytes_of("WAVEfmt ") + low_first_4(18) +  //
           low_first_2(tag) + low_first_2(1) + low_first_4(8000) + low_first_4(byte_rate) + low_first_2(block_align) +
           low_first_2(bits) + low_first_2(0) + bytes_of("data") + low_first_4(data);
}
