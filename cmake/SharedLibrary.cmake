# velkar_shared_library(target header macro title): a library that exports what its header declares in lines that begin
# with the macro, and nothing else, and that brings no other library but the system's.
function(velkar_shared_library target header macro title)
  # The list of exports exists once: in the header.
  file(STRINGS ${header} lines REGEX "^${macro} ")
  set(exports "")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "([A-Za-z]+)\\(" ignored "${line}")
    if(NOT CMAKE_MATCH_1)
      message(FATAL_ERROR "No function name in: ${line}")
    endif()
    list(APPEND exports ${CMAKE_MATCH_1})
  endforeach()
  list(JOIN exports "\n" text)
  set(place ${PROJECT_BINARY_DIR}/${target})
  file(WRITE ${place}.exports "${text}\n")
  file(WRITE ${place}.def "LIBRARY ${target}\nEXPORTS\n${text}\n")
  list(JOIN exports ";" text)
  file(WRITE ${place}.map "{ global: ${text}; local: *; };\n")

  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  velkar_split_debug(${target})
  if(WIN32)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/Library.rc.in ${place}.rc @ONLY)
    target_sources(${target} PRIVATE ${place}.rc ${place}.def)
    set_target_properties(${target} PROPERTIES PREFIX "")
    # The import library for Microsoft's linker, beside the one that mingw's linker has made.
    find_program(VELKAR_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
    if(VELKAR_DLLTOOL)
      add_custom_command(OUTPUT ${place}.lib
        COMMAND ${VELKAR_DLLTOOL} -m i386:x86-64 -D ${target}.dll -d ${target}.def -l ${target}.lib
        WORKING_DIRECTORY ${PROJECT_BINARY_DIR} DEPENDS ${place}.def VERBATIM)
      add_custom_target(${target}_import_library ALL DEPENDS ${place}.lib)
    endif()
    return()
  endif()
  # What the library calls of its own exports is its own, also if the host has a function of that name.
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${place}.map)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${place}.map)
  if(NOT VELKAR_SANITIZE)
    # What nothing calls is left out, above all of the C++ runtime, whose unused parts ask for newer systems. The
    # unwinder is the system's: an exception that leaves a callback of the host has to find one unwinder only.
    target_link_options(${target} PRIVATE -Wl,--gc-sections -static-libstdc++ -Wl,-z,defs)
  endif()
endfunction()
