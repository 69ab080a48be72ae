# Libraries of headers, from the system's packages. The library sees them through a staged folder of links, so that a
# cross build meets no header of the native system.
set(staged ${PROJECT_BINARY_DIR}/staged-include)
file(MAKE_DIRECTORY ${staged})
# velkar_stage(header names...): the folder that holds the header is searched, and the names in it are staged.
function(velkar_stage header)
  find_path(VELKAR_FOLDER_OF_${header} ${header} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
  mark_as_advanced(VELKAR_FOLDER_OF_${header})
  set(folder ${VELKAR_FOLDER_OF_${header}})
  if(NOT folder)
    message(FATAL_ERROR "There is no ${header}: install its package (see script/bootstrap), or "
                        "set VELKAR_FOLDER_OF_${header}")
  endif()
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS ${staged}/${name})
      file(CREATE_LINK ${folder}/${name} ${staged}/${name} SYMBOLIC)
    endif()
  endforeach()
endfunction()
velkar_stage(asio.hpp asio.hpp asio)
velkar_stage(spdlog/spdlog.h spdlog)
velkar_stage(fmt/format.h fmt)

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

# Of the programs beside the library.
if(VELKAR_BUILD_CHECK OR VELKAR_BUILD_SANDBOX)
  velkar_stage(CLI/CLI.hpp CLI)
  add_library(velkar_cli11 INTERFACE)
  target_include_directories(velkar_cli11 SYSTEM INTERFACE ${staged})
endif()
if(VELKAR_BUILD_SANDBOX)
  velkar_stage(nlohmann/json.hpp nlohmann)
  add_library(velkar_json INTERFACE)
  target_include_directories(velkar_json SYSTEM INTERFACE ${staged})
endif()
