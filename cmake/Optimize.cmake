# Profile-guided and link-time optimisation of the engine, in one place.
#
# With ORVO_OPTIMIZE on (the engine and release presets, the package), a
# build makes an instrumented copy of the engine first, in pgo/build under
# the build directory, runs it on the benchmark (the search's "bench" and
# perft from two positions, the same work bench/compare.sh measures), and
# compiles the engine's libraries and the orvo executable with the profile
# it wrote to pgo/data; the executable and the benchmark programs are then
# linked with link-time optimisation. When an engine source changes, the
# instrumented copy is rebuilt and retrained, and everything compiled with
# the old profile is compiled again.
#
# ORVO_OPTIMIZE off gives the plain -O3 build (cmake -DORVO_OPTIMIZE=OFF).
# The sanitizer, ThreadSanitizer and fuzz builds never use it: their
# instrumentation and a profile do not mix.
#
# ORVO_PGO_STAGE is internal: "generate" marks the instrumented build.

option(ORVO_OPTIMIZE "Profile-guided and link-time optimised engine (release builds)" OFF)
set(ORVO_PGO_STAGE "" CACHE INTERNAL "generate: this is the instrumented build of a profile-guided one")
set(ORVO_PGO_DATA "" CACHE INTERNAL "Where the instrumented build writes its profile")

# The engine's own libraries, bottom up, and the executable.
set(ORVO_ENGINE_TARGETS orvo_position orvo_io orvo_eval orvo_tools orvo_search orvo_book
    orvo_protocol orvo_engine orvo)

if(ORVO_PGO_STAGE STREQUAL "generate")
  # The profile's file names are the object files' paths below the build
  # directory, so that the optimised build, elsewhere, finds them. Updates
  # of the counters are not atomic: the training runs one thread.
  add_compile_options(-fprofile-generate=${ORVO_PGO_DATA} -fprofile-prefix-path=${CMAKE_BINARY_DIR}
                      -fprofile-update=single)
  add_link_options(-fprofile-generate=${ORVO_PGO_DATA})
  return()
endif()

if(NOT ORVO_OPTIMIZE)
  return()
endif()
if(ORVO_SANITIZE OR ORVO_TSAN OR ORVO_FUZZ)
  message(STATUS "ORVO_OPTIMIZE: off in a sanitizer or fuzz build")
  set(ORVO_OPTIMIZE OFF)
  return()
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  message(STATUS "ORVO_OPTIMIZE: profile-guided builds are set up for GCC only; a plain build")
  set(ORVO_OPTIMIZE OFF)
  return()
endif()

include(CheckIPOSupported)
check_ipo_supported(RESULT orvo_ipo_ok OUTPUT orvo_ipo_message LANGUAGES CXX)
if(NOT orvo_ipo_ok)
  message(STATUS "ORVO_OPTIMIZE: no link-time optimisation here (${orvo_ipo_message}); profile only")
endif()

include(ExternalProject)
include(ProcessorCount)
# The inner build is a make of its own, outside the outer one's job
# server: it gets the machine's processors.
ProcessorCount(orvo_jobs)
if(orvo_jobs EQUAL 0)
  set(orvo_jobs 2)
endif()
set(orvo_pgo_dir ${CMAKE_BINARY_DIR}/pgo)
set(orvo_pgo_data ${orvo_pgo_dir}/data)
set(orvo_pgo_stamp ${orvo_pgo_dir}/trained.stamp)
set(orvo_pgo_exe ${orvo_pgo_dir}/build/engine/orvo)

# The instrumented engine: the same sources and flags, nothing else built.
# It is rebuilt at every build (make finds nothing to do when nothing
# changed), and retrained only when its executable is newer than the last
# training (the training script decides: a dependency on the executable's
# file would be checked before the inner build has made it).
ExternalProject_Add(orvo_pgo
  SOURCE_DIR ${CMAKE_SOURCE_DIR}
  BINARY_DIR ${orvo_pgo_dir}/build
  PREFIX ${orvo_pgo_dir}
  CMAKE_ARGS
    -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
    -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
    # The same flags as the build that reads the profile (the package's
    # hardening flags among them): the profile must describe the same code.
    "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${CMAKE_EXE_LINKER_FLAGS}"
    -DORVO_ARCH=${ORVO_ARCH}
    -DORVO_TESTS=OFF -DORVO_BENCH=OFF -DORVO_OPTIMIZE=OFF
    -DORVO_PGO_STAGE=generate -DORVO_PGO_DATA=${orvo_pgo_data}
    -DORVO_EPD_DIR=${ORVO_EPD_DIR}
  BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target orvo --parallel ${orvo_jobs}
  BUILD_ALWAYS ON
  INSTALL_COMMAND ""
  BUILD_BYPRODUCTS ${orvo_pgo_exe})
ExternalProject_Add_Step(orvo_pgo train
  COMMAND ${CMAKE_COMMAND} -DORVO=${orvo_pgo_exe} -DDATA=${orvo_pgo_data} -DSTAMP=${orvo_pgo_stamp}
          -DWORK=${orvo_pgo_dir}/work -P ${CMAKE_CURRENT_LIST_DIR}/pgo_train.cmake
  COMMENT "Training the instrumented engine on the benchmark (when it changed)"
  DEPENDEES build
  ALWAYS TRUE
  BYPRODUCTS ${orvo_pgo_stamp})

# Compile every engine source with the profile, again whenever it changes.
function(orvo_optimize_targets)
  foreach(target ${ORVO_ENGINE_TARGETS})
    if(NOT TARGET ${target})
      continue()
    endif()
    add_dependencies(${target} orvo_pgo)
    # -fprofile-partial-training: code the training never ran (the book
    # builder, the protocols' rarer commands) is optimised as usual rather
    # than for size.
    target_compile_options(${target} PRIVATE -fprofile-use=${orvo_pgo_data}
      -fprofile-prefix-path=${CMAKE_BINARY_DIR} -fprofile-partial-training
      -Wno-missing-profile)
    get_target_property(sources ${target} SOURCES)
    get_target_property(dir ${target} SOURCE_DIR)
    set_source_files_properties(${sources} DIRECTORY ${dir} PROPERTIES OBJECT_DEPENDS ${orvo_pgo_stamp})
    if(orvo_ipo_ok)
      get_target_property(type ${target} TYPE)
      if(type STREQUAL "STATIC_LIBRARY")
        # Fat objects: the executables that link them with link-time
        # optimisation read their intermediate code, the tests (linked
        # without it, to keep their links quick) the ordinary code.
        target_compile_options(${target} PRIVATE -flto=auto -ffat-lto-objects)
      else()
        set_property(TARGET ${target} PROPERTY INTERPROCEDURAL_OPTIMIZATION ON)
      endif()
    endif()
  endforeach()
  # Everything else linked from the libraries (the tests) takes their
  # ordinary code: a link without link-time optimisation is far quicker,
  # and the tests check the same sources.
  if(orvo_ipo_ok AND ORVO_TESTS)
    orvo_plain_links(${CMAKE_SOURCE_DIR}/tests)
  endif()
  # The benchmark programs measure the engine as the executable has it.
  if(orvo_ipo_ok)
    foreach(target ${ARGN})
      if(TARGET ${target})
        set_property(TARGET ${target} PROPERTY INTERPROCEDURAL_OPTIMIZATION ON)
      endif()
    endforeach()
  endif()
endfunction()

# -fno-lto on the link of every executable below a folder.
function(orvo_plain_links dir)
  if(NOT EXISTS ${dir}/CMakeLists.txt)
    return()
  endif()
  get_property(targets DIRECTORY ${dir} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target ${targets})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
      target_link_options(${target} PRIVATE -fno-lto)
    endif()
  endforeach()
  get_property(subdirs DIRECTORY ${dir} PROPERTY SUBDIRECTORIES)
  foreach(subdir ${subdirs})
    orvo_plain_links(${subdir})
  endforeach()
endfunction()
