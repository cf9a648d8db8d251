# SPDX-License-Identifier: MIT
# System packages only. A missing one ends the configuration with the name of the Debian package that has it.

# quaver_find_library(<target> <library> <header> <package>): an imported target from a library and a header.
function(quaver_find_library target library header package)
    find_library(${target}_LIBRARY ${library})
    find_path(${target}_INCLUDE_DIR ${header})
    if(NOT ${target}_LIBRARY OR NOT ${target}_INCLUDE_DIR)
        message(FATAL_ERROR "lib${library} was not found. On Debian: apt install ${package}  (or run scripts/bootstrap)")
    endif()
    add_library(${target} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${${target}_LIBRARY}"
                          INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE_DIR}")
endfunction()

# quaver_find_package(<name> <package>): a package that brings its own CMake configuration.
macro(quaver_find_package name package)
    find_package(${name} QUIET)
    if(NOT ${name}_FOUND)
        message(FATAL_ERROR "${name} was not found. On Debian: apt install ${package}  (or run scripts/bootstrap)")
    endif()
endmacro()

quaver_find_library(gsm gsm gsm.h libgsm1-dev)
if(QUAVER_AUDIO STREQUAL "alsa")
    # The headers alone are built with; that the library is looked for too keeps half an installation from passing.
    quaver_find_library(asound asound alsa/asoundlib.h libasound2-dev)
    add_library(asound_headers INTERFACE)
    target_include_directories(asound_headers SYSTEM INTERFACE ${asound_INCLUDE_DIR})
endif()
if(BUILD_TESTING OR QUAVER_FUZZ)
    quaver_find_package(GTest "libgtest-dev libgmock-dev")
endif()
if(BUILD_TESTING)
    quaver_find_library(sndfile sndfile sndfile.h libsndfile1-dev)
endif()
if(QUAVER_BENCH)
    quaver_find_package(benchmark libbenchmark-dev)
    if(NOT TARGET sndfile)
        quaver_find_library(sndfile sndfile sndfile.h libsndfile1-dev)
    endif()
endif()
