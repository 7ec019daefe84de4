# What can be chosen at configuration time. The presets set all of it; a plain `cmake -B build` gets a release
# build with whatever this machine has.

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_package(GTest QUIET)
if(GTest_FOUND)
  set(velnor_tests_default ON)
else()
  set(velnor_tests_default OFF)
endif()

option(VELNOR_CONSOLE "Build the desktop console (needs Qt 6)" ON)
option(VELNOR_TESTS "Build the tests (needs GoogleTest)" ${velnor_tests_default})
option(VELNOR_BENCH "Build the benchmarks (needs Google Benchmark)" OFF)
option(VELNOR_FUZZ "Build the fuzz targets (needs clang)" OFF)
set(VELNOR_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, 'address,undefined' or 'thread'")
set(VELNOR_BIN_DIR ${CMAKE_BINARY_DIR}/bin CACHE PATH "Where the programs land")

if(NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(VELNOR_CCACHE ccache)
  if(VELNOR_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${VELNOR_CCACHE})
  endif()
endif()
