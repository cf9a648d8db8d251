// SPDX-License-Identifier: MIT
#include "riff/wave_format.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "riff/fourcc.h"
#include "support/capture.h"
#include "support/temp_dir.h"
#include "support/wave.h"

namespace {

// A record with extra bytes behind it, as the functions expect it in memory.
struct FormatWithExtra {
    WaveFormat format;
    std::uint8_t extra[64];
};
static_assert(sizeof(FormatWithExtra) == 18 + 64);

// What riff_write_format adds to a file; `format` is changed as by the call.
Bytes written_chunk(WaveFormat* format) {
    const TempDir directory;
    const std::string path = directory / "format.wav";
    write_file(path, {});
    RiffFile* file = riff_open(path.c_str(), fourcc("WAVE"));
    EXPECT_EQ(riff_write_format(file, format), 0);
    const std::uint64_t counted = file->chunk.size;
    riff_close(file);
    const Bytes content = read_file(path);
    EXPECT_EQ(counted, content.size());
    return Bytes(content.begin() + outer_header_bytes, content.end());
}

WaveFormat written(WaveFormat format) {
    written_chunk(&format);
    return format;
}

std::string dumped(const WaveFormat& format, std::uint32_t chunk_length, int full) {
    const Output output = output_of([&] { wave_dump_format(&format, chunk_length, full); });
    EXPECT_EQ(output.err, "");
    return output.out;
}

std::string dumped(const Bytes& content) {
    const Output output = output_of([&] { hex_dump(content.data(), static_cast<int>(content.size())); });
    EXPECT_EQ(output.err, "");
    return output.out;
}

}  // namespace

// --- the record and the chunk

TEST(WaveFormat, RecordHasNoGaps) {
    WaveFormat format = {0x0201, 0x0403, 0x08070605, 0x0C0B0A09, 0x0E0D, 0x100F, 0x1211};
    std::uint8_t image[18] = {};
    static_assert(sizeof format == sizeof image);
    std::memcpy(image, &format, sizeof image);
    for (int i = 0; i < 18; ++i) EXPECT_EQ(image[i], i + 1);
}

TEST(RiffWriteFormat, LinearPcmAt8000HzIsTheSixteenBytesWorkedOutByHand) {
    WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
    EXPECT_EQ(written_chunk(&format), bytes({'f',  'm',  't',  ' ',  0x10, 0x00, 0x00, 0x00,  //
                                             0x01, 0x00, 0x01, 0x00, 0x40, 0x1F, 0x00, 0x00,  //
                                             0x80, 0x3E, 0x00, 0x00, 0x02, 0x00, 0x10, 0x00}));
}

TEST(RiffWriteFormat, FillsInTheCallersRecord) {
    const WaveFormat format = written({1, 2, 44100, 77, 77, 16, 0});
    EXPECT_EQ(format.block_align, 4);
    EXPECT_EQ(format.byte_rate, 176400u);
    EXPECT_EQ(format.format_tag, 1);
    EXPECT_EQ(format.channels, 2);
    EXPECT_EQ(format.sample_rate, 44100u);
    EXPECT_EQ(format.bits_per_sample, 16);
    EXPECT_EQ(format.extra_bytes, 0);
}

// Linear PCM has sixteen bytes whatever its extra size says; any other tag carries the extra size, zero too, and bytes.
TEST(RiffWriteFormat, ExtraSizeAndExtraBytesAreThoseOfEveryTagButLinearPcm) {
    const Bytes mono_8000 = bytes({1, 0, 0x40, 0x1F, 0, 0, 0, 0, 0, 0, 0, 0});
    FormatWithExtra linear = {
        {1,   1, 8000, 0, 0, 16, 4},
        {1, 2, 3,     4     }
    };
    FormatWithExtra gsm = {
        {0x31,  1, 8000, 0, 0, 0, 0},
        {0xEE}
    };
    FormatWithExtra adpcm = {
        {0x11, 1, 8000, 0, 0, 4, 2},
        {0xF9,   0x01,   0xEE     }
    };
    EXPECT_EQ(first_bytes(written_chunk(&linear.format), 10), bytes_of("fmt ") + bytes({16, 0, 0, 0, 1, 0}));
    EXPECT_EQ(written_chunk(&linear.format).size(), 8u + 16u);
    EXPECT_EQ(written_chunk(&gsm.format), chunk("fmt ", bytes({0x31, 0}) + mono_8000 + bytes({0, 0, 0, 0})));
    EXPECT_EQ(written_chunk(&adpcm.format), chunk("fmt ", bytes({0x11, 0}) + mono_8000 + bytes({4, 0, 2, 0, 0xF9, 1})));
    for (const std::uint16_t tag : {std::uint16_t{0x0101}, std::uint16_t{0}}) {  // beside one
        linear.format.format_tag = tag;
        linear.format.extra_bytes = 0;
        EXPECT_EQ(written_chunk(&linear.format).size(), 8u + 18u);
    }
}

TEST(RiffWriteFormat, LargestExtraSizeIsWrittenWhole) {
    Bytes record(18 + 65535);
    for (std::size_t i = 18; i < record.size(); ++i) record[i] = static_cast<std::uint8_t>(i * 3);
    const WaveFormat head = {0x50, 1, 8000, 0, 0, 8, 65535};
    std::memcpy(record.data(), &head, sizeof head);
    const Bytes chunk = written_chunk(reinterpret_cast<WaveFormat*>(record.data()));
    ASSERT_EQ(chunk.size(), 8u + 65553u);
    EXPECT_EQ(Bytes(chunk.begin(), chunk.begin() + 8), bytes({'f', 'm', 't', ' ', 0x11, 0x00, 0x01, 0x00}));
    EXPECT_EQ(Bytes(chunk.begin() + 8, chunk.end()), record);
}

TEST(RiffWriteFormat, BlockAlignIsShiftedDownWithoutRounding) {
    EXPECT_EQ(written({1, 1, 8000, 0, 0, 8, 0}).block_align, 1);
    const WaveFormat four_bits = written({1, 1, 8000, 99, 99, 4, 0});
    EXPECT_EQ(four_bits.block_align, 0);
    EXPECT_EQ(four_bits.byte_rate, 0u);
    EXPECT_EQ(written({1, 1, 8000, 0, 0, 15, 0}).block_align, 1);
    EXPECT_EQ(written({1, 3, 8000, 0, 0, 4, 0}).block_align, 1);
}

TEST(RiffWriteFormat, BlockAlignAndByteRateAreCutToTheirWidths) {
    // 65535 * 65535 = 0xFFFE0001, / 8 = 0x1FFFC000, low 16 bits 0xC000; 0xC000 * 0xFFFFFFFF = -0xC000 in 32 bits.
    const WaveFormat format = written({1, 65535, 0xFFFFFFFF, 0, 0, 65535, 0});
    EXPECT_EQ(format.block_align, 0xC000);
    EXPECT_EQ(format.byte_rate, 0xFFFF4000u);
}

// --- names

TEST(WaveFormatName, NamedFormatHasItsNameAndAnUnknownOneAtLeastFourUpperCaseDigits) {
    const std::pair<int, const char*> names[] = {
        {0x0001,  "Linear PCM"   },
        {0x0002,  "MS ADPCM"     },
        {0x0006,  "G.711 A-LAW"  },
        {0x0007,  "G.711 U-LAW"  },
        {0x0011,  "IMA ADPCM"    },
        {0x0016,  "G.723 (ADPCM)"},
        {0x0031,  "GSM 06.10"    },
        {0x0040,  "G.721 (ADPCM)"},
        {0x0050,  "MPEG"         },
        {0x0055,  "MP3"          },
        {0x0133,  "G.729"        },
        {0x1234,  "<1234>"       },
        {0,       "<0000>"       },
        {0xAB,    "<00AB>"       },
        {0xFFFF,  "<FFFF>"       },
        {0x10002, "<10002>"      },
        {-1,      "<FFFFFFFF>"   },
    };
    for (const auto& [tag, name] : names) EXPECT_STREQ(wave_format_name(tag), name);
}

TEST(WaveFormatName, TextOfAnUnknownTagIsOverwrittenByTheNextUnknownOneOnly) {
    const char* first = wave_format_name(0x1234);
    wave_format_name(2);
    EXPECT_STREQ(first, "<1234>");
    EXPECT_EQ(wave_format_name(0x4321), first);
    EXPECT_STREQ(first, "<4321>");
}

TEST(WaveFormatName, TextOfAnUnknownTagIsNotTheFourCharacterCodes) {
    const char* name = wave_format_name(0x1234);
    EXPECT_STREQ(fourcc_text(fourcc("WAVE")), "WAVE");
    EXPECT_STREQ(name, "<1234>");
}

// --- wave_dump_format

// Chunk length and flag decide what a listing has beyond the first lines; extra bytes are counted by the chunk length,
// not by the extra size.
TEST(WaveDumpFormat, EveryListing) {
    const WaveFormat pcm = {1, 1, 8000, 16000, 2, 16, 0};
    const std::string pcm_lines =
        "AUDIO information:\n\n"
        " format: 0001 (Linear PCM)\n"
        " channels: 1\n"
        " sample rate: 8000 Hz\n"
        " bits per sample: 16\n";
    const FormatWithExtra adpcm = {
        {0x11, 1, 8000, 4055, 256, 4, 2},
        {0xF9,   0x01,   'A',       'b'       }
    };
    FormatWithExtra no_extra = adpcm;
    no_extra.format.extra_bytes = 0;
    const std::string adpcm_lines =
        "AUDIO information:\n\n"
        " format: 0011 (IMA ADPCM)\n"
        " channels: 1\n"
        " sample rate: 8000 Hz\n"
        " bits per sample: 4\n";
    const std::string full_lines = adpcm_lines + " blocksize: 256 bytes\n";
    EXPECT_EQ(dumped(pcm, 16, 0), pcm_lines + "\n");
    EXPECT_EQ(dumped(pcm, 16, -1), pcm_lines + " blocksize: 2 bytes\n extra info: 0 bytes\n\n") << "any flag but 0";
    EXPECT_EQ(dumped(adpcm.format, 20, 0), adpcm_lines + "\n");
    EXPECT_EQ(dumped(adpcm.format, 22, 1),
              full_lines +
                  " extra info: 2 bytes\n"
                  " 000000  F9 01 41 62                                      | ..Ab             |\n\n");
    EXPECT_EQ(dumped(no_extra.format, 22, 1), full_lines + " extra info: 0 bytes\n\n");
    for (const std::uint32_t length : {0u, 16u, 17u, 18u, 0x80000012u, 0xFFFFFFFFu})
        EXPECT_EQ(dumped(adpcm.format, length, 1), full_lines + " extra info: 2 bytes\n\n") << length;
    EXPECT_EQ(dumped({0xABCD, 65535, 4294967295, 0, 65534, 65533, 0}, 18, 1),
              "AUDIO information:\n\n"
              " format: ABCD (<ABCD>)\n"
              " channels: 65535\n"
              " sample rate: 4294967295 Hz\n"
              " bits per sample: 65533\n"
              " blocksize: 65534 bytes\n"
              " extra info: 0 bytes\n"
              "\n");
}

// --- hex_dump

TEST(HexDump, FiveBytesAreOneLineFilledUpWithBlanks) {
    EXPECT_EQ(dumped(bytes_of("Hello")),
              " 000000  48 65 6C 6C 6F" + std::string(33, ' ') + "  | Hello           " + " |\n");
}

TEST(HexDump, SixteenBytesAreOneLineWithoutASecond) {
    EXPECT_EQ(dumped(bytes_of("0123456789ABCDEF")),
              " 000000  30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46  | 0123456789ABCDEF |\n");
}

TEST(HexDump, SeventeenBytesBeginASecondLineAtOffset10) {
    EXPECT_EQ(dumped(bytes_of("0123456789abcdefg")),
              " 000000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  | 0123456789abcdef |\n"
              " 000010  67                                               | g                |\n");
}

TEST(HexDump, OffsetsCountBytesInSixUpperCaseDigits) {
    const std::string text = dumped(Bytes(0xFB1, 'x'));
    EXPECT_THAT(text, testing::HasSubstr("\n 000FA0  78 78 "));
    EXPECT_THAT(text, testing::HasSubstr("\n 000FB0  78   "));
}

TEST(HexDump, NothingOrLessPrintsNothing) {
    const std::uint8_t byte = 1;
    const Output output = output_of([&] {
        hex_dump(&byte, 0);
        hex_dump(&byte, -1);
        hex_dump(nullptr, std::numeric_limits<int>::min());
    });
    EXPECT_EQ(output.out, "");
}

// All 256 values: the letters and digits of ASCII and the space stand for themselves, everything else is a dot.
TEST(HexDump, OnlyLettersDigitsAndTheSpaceStandForThemselves) {
    const std::string themselves = " 0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    for (int value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(value);
        const char shown = value != 0 && themselves.find(byte) != std::string::npos ? byte : '.';
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(value));
        EXPECT_EQ(dumped({static_cast<std::uint8_t>(value)}), std::string(" 000000  ") + digits + std::string(45, ' ') +
                                                                  "  | " + shown + std::string(15, ' ') + " |\n");
    }
}
