# SPDX-License-Identifier: MIT
# Run by `cmake --install` before anything else: makes the directories in `quaver_directories` that are not there yet,
# such that others may look into them whatever the umask of who installs. Those that are there stay as they are.
foreach(directory IN LISTS quaver_directories)
    if(NOT IS_ABSOLUTE "${directory}")
        set(directory "${CMAKE_INSTALL_PREFIX}/${directory}")
    endif()
    set(directory "$ENV{DESTDIR}${directory}")
    set(missing "")
    while(NOT EXISTS "${directory}")
        list(PREPEND missing "${directory}")
        get_filename_component(directory "${directory}" DIRECTORY)
    endwhile()
    foreach(directory IN LISTS missing)
        file(MAKE_DIRECTORY "${directory}")
        file(CHMOD "${directory}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
             WORLD_READ WORLD_EXECUTE)
    endforeach()
endforeach()
