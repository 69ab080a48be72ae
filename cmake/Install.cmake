# cmake --install build/release [--component NAME]: library, development, sandbox; debug only by its name.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(share ${CMAKE_INSTALL_DATADIR}/velkar-connector)
set(doc ${CMAKE_INSTALL_DATADIR}/doc/velkar-connector)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VelkarConnector)

# ---- library and development ----
install(TARGETS VelkarConnector EXPORT VelkarConnectorTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/VelkarConnector.h ${PROJECT_SOURCE_DIR}/include/VelkarConnector.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/bindings DESTINATION ${share} COMPONENT development)
if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/VelkarConnector.def DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  if(TARGET VelkarConnector_import_library)
    install(FILES ${PROJECT_BINARY_DIR}/VelkarConnector.lib DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT development)
  endif()
endif()

# ---- find_package and pkg-config; both find everything from where they stand themselves ----
install(EXPORT VelkarConnectorTargets NAMESPACE VelkarConnector:: DESTINATION ${package} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/VelkarConnectorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/VelkarConnectorConfig.cmake INSTALL_DESTINATION ${package}
  PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/VelkarConnectorConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/VelkarConnectorConfig.cmake
              ${PROJECT_BINARY_DIR}/package/VelkarConnectorConfigVersion.cmake
        DESTINATION ${package} COMPONENT development)
file(RELATIVE_PATH up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
set(name VelkarConnector)
configure_file(${CMAKE_CURRENT_LIST_DIR}/velkar.pc.in ${PROJECT_BINARY_DIR}/package/velkar-connector.pc
               @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/velkar-connector.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# ---- what a developer reads and copies ----
set(game_server ${PROJECT_SOURCE_DIR}/examples/game_server)
install(FILES ${game_server}/VelkarConnectorConfig.tl2 ${game_server}/VelkarLog.conf DESTINATION ${share}
        COMPONENT development)
install(DIRECTORY ${game_server} DESTINATION ${doc}/examples COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${doc} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${doc}
        COMPONENT development)

# ---- the sandbox: for test programs, and as a program; the programs beside it ----
if(TARGET VelkarSandbox)
  install(TARGETS VelkarSandbox EXPORT VelkarSandboxTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sandbox
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sandbox
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sandbox
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/sandbox/capi/VelkarSandbox.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          COMPONENT sandbox)
  install(EXPORT VelkarSandboxTargets NAMESPACE VelkarConnector:: DESTINATION ${package} COMPONENT sandbox)
  set(name VelkarSandbox)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/velkar.pc.in ${PROJECT_BINARY_DIR}/package/velkar-sandbox.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/velkar-sandbox.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT sandbox)
  if(TARGET VelkarSandbox_import_library)
    install(FILES ${PROJECT_BINARY_DIR}/VelkarSandbox.lib DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT sandbox)
  endif()
endif()
foreach(target velkar-sandbox velkar-load velkar-check)
  if(TARGET ${target})
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sandbox)
  endif()
endforeach()

# ---- debug symbols: on Linux under the build id, where gdb looks for them; on Windows beside the DLL ----
if(VELKAR_SPLIT_DEBUG AND CMAKE_BUILD_TYPE STREQUAL Release)
  if(WIN32)
    install(FILES $<TARGET_FILE:VelkarConnector>.debug DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT debug
            EXCLUDE_FROM_ALL)
  else()
    foreach(target VelkarConnector VelkarSandbox velkar-sandbox velkar-load velkar-check)
      if(TARGET ${target})
        install(CODE "set(file $<TARGET_FILE:${target}>)
set(readelf ${CMAKE_READELF})
set(lib \"${CMAKE_INSTALL_LIBDIR}\")" COMPONENT debug EXCLUDE_FROM_ALL)
        install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/InstallDebug.cmake COMPONENT debug EXCLUDE_FROM_ALL)
      endif()
    endforeach()
  endif()
endif()
