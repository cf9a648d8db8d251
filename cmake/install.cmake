# SPDX-License-Identifier: MIT
# Where everything goes. The software dongle stands in a directory of its own, where only quaver looks for it.
set(quaver_libdir ${CMAKE_INSTALL_LIBDIR})
# Debian's directory for the libraries of one kind of machine, under /usr/local too.
if(quaver_libdir STREQUAL "lib" AND CMAKE_LIBRARY_ARCHITECTURE)
    set(quaver_libdir lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
set(QUAVER_PRIVATE_LIBDIR ${quaver_libdir}/quaver)
file(RELATIVE_PATH quaver_libdir_from_bindir /${CMAKE_INSTALL_BINDIR} /${QUAVER_PRIVATE_LIBDIR})
# Where zsh looks below /usr/local; a package for /usr names its system's directory. No PATH: relative to the prefix.
set(QUAVER_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Where the completion for zsh goes")
set(quaver_bash_dir ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(quaver_fish_dir ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# First of all, because those that the commands below would make obey the umask.
set(quaver_directories ${CMAKE_INSTALL_BINDIR} ${QUAVER_PRIVATE_LIBDIR} ${CMAKE_INSTALL_MANDIR}/man1 lib/udev/rules.d
    ${quaver_bash_dir} ${QUAVER_ZSH_DIR} ${quaver_fish_dir} ${CMAKE_INSTALL_DOCDIR}/docs
    ${CMAKE_INSTALL_DOCDIR}/docs/pictures ${CMAKE_INSTALL_DOCDIR}/samples)
if(QUAVER_DONGLE_LIBRARY)
    list(REMOVE_ITEM quaver_directories ${QUAVER_PRIVATE_LIBDIR})
endif()
install(CODE "set(quaver_directories \"${quaver_directories}\")")
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/make_directories.cmake)

# RUNPATH, so that LD_LIBRARY_PATH goes before it; relative, so that the tree can stand anywhere. The build tree has the
# shape of the installed one and the same RUNPATH: one that CMake pads for a change at install would have empty entries,
# which mean the caller's directory.
if(QUAVER_DONGLE_LIBRARY)
    get_filename_component(quaver_dongle_directory ${QUAVER_DONGLE_LIBRARY} DIRECTORY)
    set_target_properties(quaver PROPERTIES INSTALL_RPATH ${quaver_dongle_directory})
else()
    set_target_properties(quaver PROPERTIES INSTALL_RPATH $ORIGIN/${quaver_libdir_from_bindir})
    set_target_properties(dongle PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${QUAVER_PRIVATE_LIBDIR})
    install(TARGETS dongle LIBRARY DESTINATION ${QUAVER_PRIVATE_LIBDIR})
endif()
set_target_properties(quaver PROPERTIES BUILD_WITH_INSTALL_RPATH ON
                      RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
install(TARGETS quaver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(PROGRAMS archive/quaver-archive DESTINATION ${CMAKE_INSTALL_BINDIR})

install(FILES docs/quaver.1 docs/quaver-archive.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES packaging/completions/quaver packaging/completions/quaver-archive DESTINATION ${quaver_bash_dir})
install(FILES packaging/completions/_quaver DESTINATION ${QUAVER_ZSH_DIR})
install(FILES packaging/completions/quaver.fish packaging/completions/quaver-archive.fish
        DESTINATION ${quaver_fish_dir})
install(FILES packaging/udev/60-quaver.rules DESTINATION lib/udev/rules.d)
# As in the source tree, so that the links in the README lead somewhere.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/architecture.md docs/software-dongle.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES samples/README.md samples/greeting.dvtool samples/counting.dvtool samples/greeting.ambe
              samples/greeting_source.wav samples/counting_source.wav
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/samples)
install(FILES docs/pictures/greeting.png docs/pictures/greeting_detail.png docs/pictures/counting_detail.png
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs/pictures)
