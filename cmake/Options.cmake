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

# velkar_objects(name dirs...): the sources of those folders, built once and linked into the library
# and into the tests alike.
function(velkar_objects name)
  set(globs ${ARGN})
  list(TRANSFORM globs APPEND "/*.cpp")
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  add_library(${name} OBJECT ${sources})
  target_link_libraries(${name} PUBLIC velkar_options)
endfunction()
