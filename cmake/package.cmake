# SPDX-License-Identifier: MIT
# `cpack -G DEB` in a build directory: one Debian package. The libraries it depends on are found by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quaver)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "quaver maintainers")
set(CPACK_PACKAGE_CONTACT "quaver maintainers <maintainers@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "convert recorded AMBE digital voice to WAV files")
set(CPACK_PACKAGE_DESCRIPTION
"quaver turns recordings of AMBE digital voice, DVTOOL files and raw streams
of 12-byte frames, into WAV files: linear PCM, A-law, u-law, IMA ADPCM or
GSM 06.10.
.
It drives a vocoder through a small library. The one in this package is a
decoder in software, so that no hardware is needed; owners of a vocoder
dongle on a serial port put that dongle's own library in its place.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/strip_package.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Sorts before 1.0.7-1: a package of Debian's own would take the place of this one.
set(CPACK_DEBIAN_PACKAGE_RELEASE 0quaver1)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "parallel, sox")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${QUAVER_PRIVATE_LIBDIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Directories of the package are 0755 whatever the packager's umask is.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
