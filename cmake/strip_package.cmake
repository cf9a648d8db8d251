# SPDX-License-Identifier: MIT
# Run by cpack on the tree that it is about to pack: takes from the binaries what Debian's own packages are without.
find_program(strip_program strip REQUIRED)
file(GLOB_RECURSE binaries ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/bin/quaver ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.so)
foreach(binary IN LISTS binaries)
    execute_process(COMMAND ${strip_program} --strip-unneeded --remove-section=.comment --remove-section=.note ${binary}
                    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
