# SPDX-License-Identifier: MIT
# What every target is compiled with. `quaver_target(name)` adds what only the project's own binaries take.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# The same arithmetic on every machine: no fused multiply-add behind the source's back.
add_compile_options(-ffp-contract=off)
if(QUAVER_PROCESSOR STREQUAL "i386")
    add_compile_options(-msse2 -mfpmath=sse)  # the older unit computes with more digits than the others
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64)  # a recording may be as long as on the others
endif()
if(QUAVER_WERROR)
    add_compile_options(-Werror)
endif()

# quaver_harden(<compiler option>...): those that the compiler knows for this processor.
function(quaver_harden)
    foreach(option IN LISTS ARGN)
        string(MAKE_C_IDENTIFIER "compiler_knows${option}" known)
        check_cxx_compiler_flag(${option} ${known})
        if(${known})
            add_compile_options(${option})
        endif()
    endforeach()
endfunction()

if(QUAVER_HARDEN)
    include(CheckCXXCompilerFlag)
    include(CheckLinkerFlag)
    if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")  # who builds a package chooses the level
        add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
    add_compile_options(-fstack-protector-strong)
    # x86 has the second of these, ARM the third.
    quaver_harden(-fstack-clash-protection -fcf-protection -mbranch-protection=standard)
    add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
    # All code keeps to a shadow stack. The note is set by hand where the C library's start code has none; the one for
    # indirect branches is left to the linker, because that start code has no landing places there.
    check_linker_flag(CXX -Wl,-z,shstk linker_knows_shadow_stack)
    if(linker_knows_shadow_stack AND QUAVER_PROCESSOR MATCHES "^(x86-64|i386)$")
        add_link_options(-Wl,-z,shstk)
    endif()
endif()
if(QUAVER_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(QUAVER_SANITIZE)
    add_compile_options(-fsanitize=${QUAVER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUAVER_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)  # what the sanitizers insert sets off false alarms
    endif()
endif()
if(QUAVER_COVERAGE)
    add_compile_options(-fprofile-arcs -ftest-coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# The program and the software dongle: no exceptions, no run-time type information.
function(quaver_target name)
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
endfunction()
