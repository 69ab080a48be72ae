# Installs "file".debug as lib/debug/.build-id/xx/yyyy.debug, after the build id of the binary "file".
execute_process(COMMAND ${readelf} -n ${file} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
  message(FATAL_ERROR "${file} has no build id")
endif()
file(INSTALL DESTINATION ${CMAKE_INSTALL_PREFIX}/${lib}/debug/.build-id/${CMAKE_MATCH_1} TYPE FILE
     RENAME ${CMAKE_MATCH_2}.debug FILES ${file}.debug)
