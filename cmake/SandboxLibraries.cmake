# velkar_sandbox_libraries: SQLite and http_parser, which are linked into the programs, so that these run on other
# systems too. For Linux they are Debian's static libraries. For mingw, which Debian has none for, they are compiled from
# the sources that script/third-party has put into the user's cache folder.
add_library(velkar_sandbox_libraries INTERFACE)
if(NOT WIN32)
  find_library(VELKAR_SQLITE libsqlite3.a REQUIRED)
  find_library(VELKAR_HTTP_PARSER libhttp_parser.a REQUIRED)
  target_link_libraries(velkar_sandbox_libraries INTERFACE ${VELKAR_SQLITE} ${VELKAR_HTTP_PARSER} ${CMAKE_DL_LIBS} m)
  return()
endif()

set(cache $ENV{XDG_CACHE_HOME})
if(NOT cache)
  set(cache $ENV{HOME}/.cache)
endif()
set(VELKAR_THIRD_PARTY ${cache}/velkar-connector/third-party CACHE PATH "Sources that script/third-party has fetched")
if(NOT EXISTS ${VELKAR_THIRD_PARTY}/complete)
  message(FATAL_ERROR "There are no sources of SQLite and http_parser in ${VELKAR_THIRD_PARTY}: run script/third-party, "
                      "set VELKAR_THIRD_PARTY, or leave the sandbox out with -DVELKAR_BUILD_SANDBOX=OFF")
endif()
# No project of ours, so none of our warnings.
foreach(library sqlite3 http_parser)
  add_library(velkar_${library} STATIC ${VELKAR_THIRD_PARTY}/${library}.c)
  set_target_properties(velkar_${library} PROPERTIES UNITY_BUILD OFF)
  target_compile_options(velkar_${library} PRIVATE -w)
  target_include_directories(velkar_${library} SYSTEM PUBLIC ${VELKAR_THIRD_PARTY})
  target_link_libraries(velkar_sandbox_libraries INTERFACE velkar_${library})
endforeach()
# No extensions from other files; the API itself stays inside whatever links it.
target_compile_definitions(velkar_sqlite3 PRIVATE SQLITE_OMIT_LOAD_EXTENSION SQLITE_THREADSAFE=1)
