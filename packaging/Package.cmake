# The build of the Debian package (ORVO_PACKAGE: the "package" preset, run
# by packaging/build_deb.sh). The top-level CMakeLists.txt includes this
# file before it makes any target, so what it sets holds for all of them.
#
# One package for every amd64 machine, at full speed where the processor
# allows: this build makes the engine for baseline x86-64, which any amd64
# processor runs, and packaging/CMakeLists.txt adds a second build of the
# same sources, with the same settings, for x86-64-v2 (popcnt, SSE4.2). The
# package installs both in lib/orvo/ and, as games/orvo, a small program
# (packaging/dispatch.cpp) that starts the one the processor can run.
#
# Hardened as Debian builds its packages: the compiler and linker flags of
# "dpkg-buildflags" with hardening=+all on amd64 (those of Debian 12, and
# -fstack-clash-protection and -fcf-protection, which later dpkg adds),
# less its -O2 and -g (the build type chooses the optimisation; the
# package ships no debug information). tests/install/check_deb.sh checks
# that dpkg-buildflags asks for nothing more.
#
# Reproducible: the banner's build date is SOURCE_DATE_EPOCH's, taken from
# the date of the last commit when it is not set (ORVO_SOURCE_DATE_EPOCH);
# neither the source nor the build folder is written into a binary; cpack
# dates every entry of the package by it (packaging/cpack_project.cmake),
# and packaging/deb_files.cmake sets the files' permissions, whatever the
# umask of the build.

if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  message(FATAL_ERROR "ORVO_PACKAGE makes the amd64 package: it builds on x86-64 only")
endif()

# This tree: the baseline engine, the dispatcher and the bitbase library.
if(NOT ORVO_ARCH STREQUAL "x86-64")
  message(STATUS "ORVO_PACKAGE: this build is for baseline x86-64, the second one for x86-64-v2")
endif()
set(ORVO_ARCH x86-64)

set(ORVO_PACKAGE_CXX_FLAGS
  -fstack-protector-strong -fstack-clash-protection -fcf-protection
  -Wformat -Werror=format-security
  -Wdate-time -D_FORTIFY_SOURCE=2)
set(ORVO_PACKAGE_LINK_FLAGS -Wl,-z,relro -Wl,-z,now)
# __FILE__ and any debug information name paths relative to the source
# and build folders, whichever folders those are.
list(APPEND ORVO_PACKAGE_CXX_FLAGS
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/= -fdebug-prefix-map=${CMAKE_SOURCE_DIR}/=
  -fmacro-prefix-map=${CMAKE_BINARY_DIR}/= -fdebug-prefix-map=${CMAKE_BINARY_DIR}/=)
# In the flags variables rather than as compile options, so that the
# second build is handed them with the rest of the settings. A build that
# a build makes of the engine at build time (the second one, the profiling
# builds of ORVO_OPTIMIZE) takes them from CXXFLAGS and LDFLAGS when it is
# not handed them, as CMake does at a first configure: build_deb.sh sets
# those to the two strings kept here for it.
list(JOIN ORVO_PACKAGE_CXX_FLAGS " " orvo_flags)
list(JOIN ORVO_PACKAGE_LINK_FLAGS " " orvo_link_flags)
set(ORVO_PACKAGE_CXXFLAGS "${orvo_flags}" CACHE INTERNAL "The package's compiler flags, for CXXFLAGS")
set(ORVO_PACKAGE_LDFLAGS "${orvo_link_flags}" CACHE INTERNAL "The package's linker flags, for LDFLAGS")
string(APPEND CMAKE_CXX_FLAGS " ${orvo_flags}")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS " ${orvo_link_flags}")
endforeach()

# The build date. Without SOURCE_DATE_EPOCH: the last commit's date, or
# outside a git checkout the date of the Debian changelog's last entry.
if(DEFINED ENV{SOURCE_DATE_EPOCH} AND NOT "$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  set(orvo_epoch "$ENV{SOURCE_DATE_EPOCH}")
else()
  execute_process(COMMAND git -C ${CMAKE_SOURCE_DIR} log -1 --format=%ct
    OUTPUT_VARIABLE orvo_epoch RESULT_VARIABLE orvo_git_status
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT orvo_git_status EQUAL 0 OR NOT orvo_epoch MATCHES "^[0-9]+$")
    file(STRINGS ${CMAKE_SOURCE_DIR}/packaging/changelog orvo_trailer REGEX "^ -- " LIMIT_COUNT 1)
    string(REGEX REPLACE "^ -- .*>  " "" orvo_trailer_date "${orvo_trailer}")
    execute_process(COMMAND date -u -d "${orvo_trailer_date}" +%s
      OUTPUT_VARIABLE orvo_epoch OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
endif()
if(NOT orvo_epoch MATCHES "^[0-9]+$")
  message(FATAL_ERROR "ORVO_PACKAGE: no build date (set SOURCE_DATE_EPOCH)")
endif()
set(ORVO_SOURCE_DATE_EPOCH ${orvo_epoch} CACHE STRING
    "Build date, seconds since 1970 (the package build sets it: SOURCE_DATE_EPOCH or the last commit's)" FORCE)

# The EPD suites of the developer command "test N" are looked for in the
# package's folder for them (packaging/epd-README says so to the user).
set(ORVO_EPD_DIR /usr/share/orvo/epd CACHE PATH "Absolute directory of the EPD suites suite1.epd ... suite9.epd")
