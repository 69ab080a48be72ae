# velkar_version_text: objects with the text "Velkar Connector VERSION, commit COMMIT", which `strings` finds in the
# library and in the sandbox. Each build looks for the commit and compiles one small source if it is another one. As a
# script (cmake -DOUTPUT=... -DSOURCE=... -DVERSION=... -P VersionText.cmake) this file writes that source.
if(NOT CMAKE_SCRIPT_MODE_FILE)
  set(output ${PROJECT_BINARY_DIR}/VersionText.cpp)
  add_custom_target(velkar_version_text_source BYPRODUCTS ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DSOURCE=${PROJECT_SOURCE_DIR} -DVERSION=${PROJECT_VERSION}
            -P ${CMAKE_CURRENT_LIST_FILE} VERBATIM)
  add_library(velkar_version_text OBJECT ${output})
  add_dependencies(velkar_version_text velkar_version_text_source)
  target_link_libraries(velkar_version_text PRIVATE velkar_options)
  # Nothing else refers to the text.
  target_link_options(velkar_version_text INTERFACE -Wl,-u,kVelkarVersionText)
  return()
endif()

set(commit unknown)
find_program(GIT git)
if(GIT)
  set(ENV{GIT_OPTIONAL_LOCKS} 0)
  # A copy of the sources inside a repository of somebody else has none of that repository's commits.
  execute_process(COMMAND ${GIT} -C ${SOURCE} rev-parse --show-prefix OUTPUT_VARIABLE prefix RESULT_VARIABLE failed
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT failed AND prefix STREQUAL "")
    execute_process(COMMAND ${GIT} -C ${SOURCE} describe --always --dirty --abbrev=12 --exclude=*
                    OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(found)
      set(commit ${found})
    endif()
  endif()
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "extern const char kVelkarVersionText[];
const char kVelkarVersionText[] = \"Velkar Connector ${VERSION}, commit ${commit}\";
")
