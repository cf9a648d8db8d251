# SPDX-License-Identifier: MIT
# QUAVER_PROCESSOR: what is built for, in the word that the vocoder library's name has for it. The compiler is asked:
# CMake's own word is that of the machine, also where it builds for another one.
include(CheckCXXSourceCompiles)

set(QUAVER_PROCESSOR ${CMAKE_SYSTEM_PROCESSOR})
foreach(row "__x86_64__ x86-64" "__aarch64__ aarch64" "__i386__ i386" "__arm__ arm")
    string(REPLACE " " ";" row ${row})
    list(GET row 0 macro)
    list(GET row 1 processor)
    check_cxx_source_compiles("#ifndef ${macro}\n#error another one\n#endif\nint main() {}" compiler_has${macro})
    if(compiler_has${macro})
        set(QUAVER_PROCESSOR ${processor})
        break()
    endif()
endforeach()
set(QUAVER_DONGLE_NAME dongle-${QUAVER_PROCESSOR})
set(QUAVER_DONGLE_FILE libdongle-${QUAVER_PROCESSOR}.so)
