# What `cmake --install` lays down: headers, libraries, the tool and its man page, a CMake package (vornwia) and a
# pkg-config file (vornwia). The target vornwia_product builds all of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

add_custom_target(vornwia_product)

# vorn_install(TARGETS ARGUMENTS...): install(TARGETS) for a list of targets, which become part of vornwia_product.
function(vorn_install targets)
  install(TARGETS ${targets} ${ARGN})
  add_dependencies(vornwia_product ${targets})
endfunction()

# Below 1.0 every minor version may break the binary interface.
set(vorn_libraries vornkrnx vornfilx vornwia)
if(NOT WIN32)
  list(APPEND vorn_libraries vornplatform)
endif()
file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
# The build tree is laid out as the installed one. The search path that CMake would write there has empty entries, for
# which every start looks in the current directory.
foreach(library IN LISTS vorn_libraries)
  set_target_properties(${library} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
endforeach()
foreach(library IN ITEMS vornpdf vornvideo vornwindow)  # loaded, never linked
  if(TARGET ${library})
    set_target_properties(${library} PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
      INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
    vorn_install(${library} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
  endif()
endforeach()
set(tool_path "$ORIGIN/${lib_from_bin}" "$ORIGIN/../lib")
list(REMOVE_DUPLICATES tool_path)
set_target_properties(vornscan PROPERTIES INSTALL_RPATH "${tool_path}" BUILD_WITH_INSTALL_RPATH ON)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vornwia)
vorn_install("${vorn_libraries}" EXPORT vornwia-targets
             LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
             ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
             RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
             INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
vorn_install(vorn_headers EXPORT vornwia-targets)
vorn_install(vornscan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES Platform/include/Vornkrnx.h Platform/include/Vornfilx.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET vorn_sane_host)
  vorn_install(vorn_sane_host RUNTIME DESTINATION ${CMAKE_INSTALL_LIBDIR}/vornwia)
endif()
install(FILES docs/vornscan.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

install(EXPORT vornwia-targets NAMESPACE vornwia:: FILE vornwia-config.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vornwia-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vornwia-config-version.cmake DESTINATION ${package_dir})

# The prefix is told relative to the file, so that an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/vornwia.pc.in ${PROJECT_BINARY_DIR}/vornwia.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vornwia.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
