# cmake -DHEADER=... -DBASELINE=... -P CheckDeclarations.cmake
# Games are built against the functions of the header: what the baseline holds stays, and stays as it is. A new function
# is added to the baseline, one line, in the order of the header.
cmake_minimum_required(VERSION 3.25)
file(READ ${HEADER} text)
string(REGEX MATCHALL "\nVELKAR_API [^;]*" found "${text}")
list(TRANSFORM found REPLACE "[ \n]+" " ")
list(JOIN found "\n" found)
string(REPLACE " VELKAR_API " "" found "${found}")
file(READ ${BASELINE} wanted)
string(STRIP "${wanted}" wanted)
if(NOT found STREQUAL wanted)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/declarations.txt "${found}\n")
  execute_process(COMMAND diff ${BASELINE} ${CMAKE_CURRENT_BINARY_DIR}/declarations.txt)
  message(FATAL_ERROR "The functions of ${HEADER} are not those of ${BASELINE} (see above)")
endif()
