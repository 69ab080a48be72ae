# velkar_options: what every target of this project is built with.
find_package(Threads REQUIRED)

add_library(velkar_options INTERFACE)
target_include_directories(velkar_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(velkar_options INTERFACE Threads::Threads)
target_compile_options(velkar_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow $<$<BOOL:${VELKAR_WERROR}>:-Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>
  # g++ 12 takes assignments of short literals to std::string for overlapping copies.
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
  # In a compilation of several sources g++ takes an unnamed namespace of a source for one of a header.
  $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>
  -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)

# Of a target that velkar_plain has made plain, none of what costs time or needs an optimiser.
set(not_plain $<NOT:$<BOOL:$<TARGET_PROPERTY:VELKAR_PLAIN>>>)
if(WIN32)
  target_compile_definitions(velkar_options INTERFACE _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
  target_compile_options(velkar_options INTERFACE $<${not_plain}:-fstack-protector-strong>)
  target_link_libraries(velkar_options INTERFACE ws2_32 mswsock)
  target_link_options(velkar_options INTERFACE -static -fstack-protector-strong -Wl,--dynamicbase,--nxcompat,--high-entropy-va)
else()
  # A thread that enters a library which the host has opened itself gets its thread-local objects without an
  # allocation, whose failure would end the process.
  target_compile_options(velkar_options INTERFACE -ftls-model=initial-exec)
  if(NOT VELKAR_SANITIZE)
    target_compile_options(velkar_options INTERFACE
      "$<${not_plain}:-fstack-protector-strong;-fstack-clash-protection>"
      "$<$<AND:${not_plain},$<CONFIG:Release,RelWithDebInfo,MinSizeRel>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
      target_compile_options(velkar_options INTERFACE $<${not_plain}:-fcf-protection>)
    endif()
  endif()
  target_link_options(velkar_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

if(VELKAR_SANITIZE)
  # For everything below, GoogleTest too.
  add_compile_options(-fsanitize=${VELKAR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VELKAR_SANITIZE})
endif()

if(VELKAR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# In a release build the library and the sandbox are compiled with lines and functions for a debugger, which
# velkar_split_debug moves into a file beside the binary. Source files are named from the root of the tree.
if(VELKAR_SPLIT_DEBUG)
  target_compile_options(velkar_options INTERFACE
    "$<$<AND:${not_plain},$<CONFIG:Release>>:-g1;-fdebug-prefix-map=${PROJECT_SOURCE_DIR}=.>")
endif()
function(velkar_split_debug target)
  if(NOT VELKAR_SPLIT_DEBUG OR NOT CMAKE_BUILD_TYPE STREQUAL Release)
    return()
  endif()
  set(file $<TARGET_FILE:${target}>)
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,--build-id=sha1)
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${file}.debug ${file}
    VERBATIM)
endfunction()

# velkar_tool(target): a program beside the library; quick to compile rather than the last in speed, as the libraries of
# headers that these use take long to optimise.
function(velkar_tool target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
endfunction()

# velkar_one_file(target): the program carries the C++ runtime and runs on other systems too.
function(velkar_one_file target)
  velkar_split_debug(${target})
  if(WIN32)
    return()
  endif()
  target_link_options(${target} PRIVATE -pie)
  if(NOT VELKAR_SANITIZE)
    # The unwinder is the system's, as a bundled one would ask for a newer glibc.
    target_link_options(${target} PRIVATE -static-libstdc++ -Wl,--gc-sections)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
      # Of control-flow protection the return addresses alone: the packaged SQLite is not made for the other half.
      target_link_options(${target} PRIVATE -Wl,-z,shstk)
    endif()
  endif()
endfunction()

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
    set_target_properties(${target} PROPERTIES VELKAR_PLAIN ON)
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
