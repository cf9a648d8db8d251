# SPDX-License-Identifier: MIT
# The whole program in the process of a test, or of a fuzz target: main() under another name, the stand-ins, the models.
set(in_process coder_model.cpp program_model.cpp program_run.cpp pump_model.cpp random_walk.cpp stand_in_dongle.cpp
    stand_in_system.cpp surroundings.cpp walk.cpp ../support/bytes.cpp ../support/temp_dir.cpp
    ../support/wave.cpp)
set(main ${PROJECT_SOURCE_DIR}/src/player/main.cpp)
list(TRANSFORM in_process PREPEND ${CMAKE_CURRENT_LIST_DIR}/
    OUTPUT_VARIABLE in_process_sources)
add_library(program_in_process STATIC ${main} ${in_process_sources})
target_include_directories(program_in_process PUBLIC ${PROJECT_SOURCE_DIR}/tests)
set_source_files_properties(${main} PROPERTIES COMPILE_DEFINITIONS main=program_main SKIP_PRECOMPILE_HEADERS ON)
target_link_libraries(program_in_process PUBLIC quaver_player gsm GTest::gtest)
foreach(call select read tcgetattr tcsetattr fopen fclose exit _Z19codec_stream_createjiPK9PcmFormats)
    target_link_options(program_in_process INTERFACE -Wl,--wrap=${call})
endforeach()
