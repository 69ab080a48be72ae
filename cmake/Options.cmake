# velkar_options: what every target of this project is built with.
find_package(Threads REQUIRED)

add_library(velkar_options INTERFACE)
target_include_directories(velkar_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(velkar_options INTERFACE Threads::Threads)
target_compile_options(velkar_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>
  # g++ 12 takes assignments of short literals to std::string for overlapping copies.
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
  # In a compilation of several sources g++ takes an unnamed namespace of a source for one of a header.
  $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>
  -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)

if(NOT WIN32)
  # A thread that enters a library which the host has opened itself gets its thread-local objects without an
  # allocation, whose failure would end the process.
  target_compile_options(velkar_options INTERFACE -ftls-model=initial-exec)
endif()

if(VELKAR_SANITIZE)
  # For everything below, GoogleTest too.
  add_compile_options(-fsanitize=${VELKAR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VELKAR_SANITIZE})
endif()

if(VELKAR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(WIN32)
  target_compile_definitions(velkar_options INTERFACE _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
  target_link_libraries(velkar_options INTERFACE ws2_32 mswsock)
  add_link_options(-static)
endif()

# velkar_precompile(target set): the target's sources start from the standard library's headers, precompiled once for
# the whole build; with the set "test" also from GoogleTest's.
option(VELKAR_PRECOMPILE "Precompile the headers of the standard library and of GoogleTest" OFF)
set(precompiled_standard <algorithm> <atomic> <condition_variable> <functional> <map> <memory> <mutex> <string>
                         <thread> <vector>)
set(precompiled_test ${precompiled_standard} <gtest/gtest.h>)
function(velkar_precompile target set)
  if(NOT VELKAR_PRECOMPILE)
    return()
  endif()
  set(owner velkar_precompiled_${set})
  if(NOT TARGET ${owner})
    # A program for programs and a library for libraries: they are compiled as position-independent in two ways.
    file(CONFIGURE OUTPUT ${owner}.cpp CONTENT "int main() {}\n")
    if(set STREQUAL test)
      add_executable(${owner} ${CMAKE_CURRENT_BINARY_DIR}/${owner}.cpp)
      target_link_libraries(${owner} PRIVATE gtest)
    else()
      add_library(${owner} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${owner}.cpp)
    endif()
    target_link_libraries(${owner} PRIVATE velkar_options)
    target_precompile_headers(${owner} PRIVATE ${precompiled_${set}})
  endif()
  target_precompile_headers(${target} REUSE_FROM ${owner})
endfunction()

# velkar_plain(target): tests and what only they need are built quickly, as they have nothing to be measured; a sanitizer
# that makes everything slow is spared that. The linker for Windows takes seconds for the many sections that templates
# make without any optimisation.
function(velkar_plain target)
  if(NOT VELKAR_SANITIZE)
    target_compile_options(${target} PRIVATE $<IF:$<BOOL:${WIN32}>,-O1,-O0>)
  endif()
endfunction()

# velkar_objects(name dirs...): the sources of those folders, built once and linked into the library
# and into the tests alike.
function(velkar_objects name)
  set(globs ${ARGN})
  list(TRANSFORM globs APPEND "/*.cpp")
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  add_library(${name} OBJECT ${sources})
  target_link_libraries(${name} PUBLIC velkar_options)
  velkar_precompile(${name} standard)
endfunction()
