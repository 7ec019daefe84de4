# The one target that carries every compiler and linker switch of the project: velnor_compiler. Each target of ours
# links it privately, so nothing is set globally and nothing leaks.

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

find_package(Threads REQUIRED)

add_library(velnor_compiler INTERFACE)
target_link_libraries(velnor_compiler INTERFACE Threads::Threads)
target_compile_definitions(velnor_compiler INTERFACE _GLIBCXX_ASSERTIONS)
target_compile_options(velnor_compiler INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Werror
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)

# The sanitizers bring checks of their own, which the fortified library functions would hide.
if(VELNOR_SANITIZE)
  set(velnor_sanitize -fsanitize=${VELNOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(velnor_compiler INTERFACE ${velnor_sanitize} -O1 -g1)
  target_link_options(velnor_compiler INTERFACE ${velnor_sanitize})
else()
  target_compile_options(velnor_compiler INTERFACE -fstack-protector-strong -fstack-clash-protection)
  target_compile_definitions(velnor_compiler INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
endif()
target_link_options(velnor_compiler INTERFACE -Wl,-z,relro -Wl,-z,now)

if(VELNOR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VELNOR_FUZZ needs clang: configure with -DCMAKE_CXX_COMPILER=clang++")
  endif()
  target_compile_options(velnor_compiler INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(velnor_compiler INTERFACE -fsanitize=fuzzer-no-link)
endif()
