# Packaged libraries. The header-only ones are seen through a staged folder of links, so that a cross
# build meets no header of the native system.
set(staged ${PROJECT_BINARY_DIR}/staged-include)
file(MAKE_DIRECTORY ${staged})
foreach(header asio asio.hpp spdlog fmt)
  if(NOT EXISTS /usr/include/${header})
    message(FATAL_ERROR "Missing header package for '${header}': run script/bootstrap")
  endif()
  if(NOT EXISTS ${staged}/${header})
    file(CREATE_LINK /usr/include/${header} ${staged}/${header} SYMBOLIC)
  endif()
endforeach()

add_library(velkar_asio INTERFACE)
target_include_directories(velkar_asio SYSTEM INTERFACE ${staged})
target_compile_definitions(velkar_asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
if(MINGW)
  # Else each source chooses the kind of its threads by the headers that it has seen before, and a context that one
  # source has made and another one ends waits for ever for a thread of the other kind.
  target_compile_definitions(velkar_asio INTERFACE ASIO_HAS_PTHREADS)
endif()
if(VELKAR_SANITIZE MATCHES "thread")
  # ThreadSanitizer does not know fences; the context's own locks order its handlers without them.
  target_compile_definitions(velkar_asio INTERFACE ASIO_DISABLE_FENCED_BLOCK)
endif()

add_library(velkar_spdlog INTERFACE)
target_include_directories(velkar_spdlog SYSTEM INTERFACE ${staged})
target_compile_definitions(velkar_spdlog INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY)

# GoogleTest from its packaged sources, so that the same tests run as Windows programs too.
set(gtest_sources /usr/src/googletest)
if(NOT EXISTS ${gtest_sources}/CMakeLists.txt)
  message(FATAL_ERROR "Missing package googletest: run script/bootstrap")
endif()
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
set(gtest_force_shared_crt ON)
add_subdirectory(${gtest_sources} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
target_compile_options(gtest PRIVATE -O0)
