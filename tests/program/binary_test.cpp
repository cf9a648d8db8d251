// SPDX-License-Identifier: MIT
// The built program as a binary: what it needs, what it exports, how it is hardened.
#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "program/scenario.h"
#include "support/processor.h"
#include "support/run_program.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;

std::string readelf(const std::string& option, const std::string& file = QUAVER_PROGRAM) {
    ProgramCall call;
    call.path = QUAVER_READELF;
    call.arguments = {"--wide", option, file};
    call.environment = {
        {"LC_ALL", "C"}
    };
    const ProgramResult result = run_program(call);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

// Functions and objects that a binary defines for others. Copies of the C library's own objects carry its version.
std::set<std::string> exported(const std::string& file) {
    std::set<std::string> names;
    std::istringstream table(readelf("--dyn-syms", file));
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string number, value, size, type, binding, visibility, section, name;
        words >> number >> value >> size >> type >> binding >> visibility >> section >> name;
        if (section == "UND" || name.empty() || (binding != "GLOBAL" && binding != "WEAK")) continue;
        if (type != "FUNC" && type != "OBJECT" && type != "NOTYPE") continue;
        if (name.find('@') == std::string::npos) names.insert(name);
    }
    return names;
}

const char* const line_functions[] = {"tio_close", "tio_open", "tio_read", "tio_speed", "tio_write"};

TEST(Binary, ProgramNeedsTheVocoderLibraryByItsName) {
    EXPECT_THAT(readelf("--dynamic"), HasSubstr("Shared library: [" + std::string(dongle_file) + "]"));
}

TEST(Binary, LibraryIsFoundThroughRunpathNotRpath) {
    const std::string dynamic = readelf("--dynamic");
    EXPECT_THAT(dynamic, HasSubstr("(RUNPATH)"));
    EXPECT_THAT(dynamic, Not(HasSubstr("(RPATH)")));
}

// An empty entry means the caller's directory, whoever's that is.
TEST(Binary, RunpathHasNoEmptyEntry) {
    const std::string dynamic = readelf("--dynamic");
    EXPECT_THAT(dynamic, Not(HasSubstr("::")));
    EXPECT_THAT(dynamic, Not(HasSubstr(":]")));
    EXPECT_THAT(dynamic, Not(HasSubstr("[:")));
}

TEST(Binary, ProgramExportsTheFiveLineFunctions) {
    EXPECT_THAT(exported(QUAVER_PROGRAM), IsSupersetOf(line_functions));
}

TEST(Binary, ProgramExportsNothingElse) {
#if QUAVER_INSTRUMENTED
    GTEST_SKIP() << "sanitizers and line counting export names of their own";
#endif
    std::set<std::string> names = exported(QUAVER_PROGRAM);
    names.erase("_IO_stdin_used");  // the C start-up code's own mark
    EXPECT_THAT(names, testing::UnorderedElementsAreArray(line_functions));
}

TEST(Binary, LibraryPathReplacesTheDongle) {
    ThreeFrames scenario;  // runs with the scripted stand-in in LD_LIBRARY_PATH
    EXPECT_THAT(scenario.run().calls, Contains("dongle_hello()"));
}

#if QUAVER_SOFTWARE_DONGLE
TEST(Binary, SoftwareDongleExportsTheNineFunctions) {
    EXPECT_THAT(exported(SOFTWARE_DONGLE),
                IsSupersetOf({"dongle_debug", "dongle_init", "dongle_hello", "dongle_run", "dongle_send", "dongle_recv",
                              "dongle_close", "ambe_init", "ambe_send"}));
    EXPECT_THAT(readelf("--dynamic", SOFTWARE_DONGLE), HasSubstr("Library soname: [" + std::string(dongle_file) + "]"));
}
#endif

// What is shipped: the presets without QUAVER_HARDEN are for looking inside.
class Hardening : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
#if !QUAVER_HARDENED
        GTEST_SKIP() << "this preset builds without QUAVER_HARDEN; the release preset is checked";
#endif
    }
};

TEST_P(Hardening, IsPositionIndependent) {
    EXPECT_THAT(readelf("--file-header", GetParam()), HasSubstr("Type:                              DYN"));
}

TEST_P(Hardening, HasFullRelro) {
    EXPECT_THAT(readelf("--program-headers", GetParam()), HasSubstr("GNU_RELRO"));
    EXPECT_THAT(readelf("--dynamic", GetParam()), HasSubstr("NOW"));
    EXPECT_THAT(readelf("--sections", GetParam()), Not(HasSubstr(" .got.plt "))) << "no table is left to bind lazily";
}

TEST_P(Hardening, ChecksItsStack) {
    EXPECT_THAT(readelf("--dyn-syms", GetParam()), HasSubstr("__stack_chk_fail@"));
}

TEST_P(Hardening, HasNoExecutableStackOrWritableCode) {
    std::istringstream headers(readelf("--program-headers", GetParam()));
    bool stack_seen = false;
    for (std::string line; std::getline(headers, line);) {
        stack_seen = stack_seen || line.find("GNU_STACK") != std::string::npos;
        EXPECT_EQ(line.find(" RWE "), std::string::npos) << line;
    }
    EXPECT_TRUE(stack_seen);
}

const char* const shipped_files[] = {
    QUAVER_PROGRAM,
#if QUAVER_SOFTWARE_DONGLE
    SOFTWARE_DONGLE,
#endif
};

INSTANTIATE_TEST_SUITE_P(Shipped, Hardening, testing::ValuesIn(shipped_files),
                         [](const testing::TestParamInfo<const char*>& file) {
                             return std::string(file.index == 0 ? "Program" : "SoftwareDongle");
                         });

class ProgramHardening : public Hardening {};

TEST_P(ProgramHardening, IsAnExecutableThatMayLieAnywhere) {
    const std::string dynamic = readelf("--dynamic", GetParam());
    const std::size_t flags = dynamic.find("(FLAGS_1)");
    ASSERT_NE(flags, std::string::npos);
    const std::string line = dynamic.substr(flags, dynamic.find('\n', flags) - flags);
    EXPECT_THAT(line, HasSubstr("PIE"));
    EXPECT_THAT(line, HasSubstr("NOW"));
}

TEST_P(ProgramHardening, CallsTheFortifiedLibrary) {
    const std::string symbols = readelf("--dyn-syms", GetParam());
    EXPECT_THAT(symbols, HasSubstr("__printf_chk@"));
    EXPECT_THAT(symbols, HasSubstr("__fprintf_chk@"));
    EXPECT_THAT(symbols, Not(HasSubstr(" sprintf@")));
}

INSTANTIATE_TEST_SUITE_P(Shipped, ProgramHardening, testing::Values(QUAVER_PROGRAM),
                         [](const testing::TestParamInfo<const char*>&) { return std::string("Program"); });

}  // namespace
