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
if(QUAVER_WERROR)
    add_compile_options(-Werror)
endif()
if(QUAVER_HARDEN)
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection
                        -fcf-protection)
    add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
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
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# The program and the software dongle: no exceptions, no run-time type information.
function(quaver_target name)
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
endfunction()
