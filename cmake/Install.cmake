# cmake --install: the library (lib/lua/5.1/vyrlua.so, where Lua's C searcher
# looks), the reference host's libraries (lib/), their headers
# (include/vyrlua/), vyrlua-host and its resources (bin/, share/vyrlua/), a
# CMake package (find_package(vyrlua): vyrlua::vyrlua, vyrlua::KzKernel, ...)
# and a pkg-config file (vyrlua.pc).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VYRLUA_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/vyrlua)
set(VYRLUA_INSTALL_MODULEDIR ${CMAKE_INSTALL_LIBDIR}/lua/5.1)
set(VYRLUA_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/vyrlua)

set(VYRLUA_HOST_TARGETS)
foreach(lib KzKernel vyrcore vyrcrashreporter vyrdrawbot vyrui vyrundo exo vyrworkspace)
  if(TARGET ${lib})
    list(APPEND VYRLUA_HOST_TARGETS ${lib})
  endif()
endforeach()

# Installed, every header is found from include/vyrlua.
foreach(target ${VYRLUA_HOST_TARGETS} vyrlua)
  get_target_property(dirs ${target} INTERFACE_INCLUDE_DIRECTORIES)
  set(both)
  foreach(dir ${dirs})
    list(APPEND both "$<BUILD_INTERFACE:${dir}>")
  endforeach()
  list(APPEND both "$<INSTALL_INTERFACE:${VYRLUA_INSTALL_INCLUDEDIR}>")
  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${both}")
endforeach()

# Installed programs and libraries find each other through their own place.
set_target_properties(${VYRLUA_HOST_TARGETS} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(vyrlua PROPERTIES INSTALL_RPATH "$ORIGIN/../..")
set_target_properties(vyrlua-host PROPERTIES
  INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN/../${VYRLUA_INSTALL_MODULEDIR}")

install(TARGETS ${VYRLUA_HOST_TARGETS} vyr_lua_headers vyr_lua_runtime EXPORT vyrluaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS vyrlua EXPORT vyrluaTargets LIBRARY DESTINATION ${VYRLUA_INSTALL_MODULEDIR})
install(TARGETS vyrlua-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${CMAKE_BINARY_DIR}/bin/resources/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/vyrlua/resources)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/host/ DESTINATION ${VYRLUA_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/vyrlua DESTINATION ${VYRLUA_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

install(EXPORT vyrluaTargets NAMESPACE vyrlua:: DESTINATION ${VYRLUA_INSTALL_CMAKEDIR})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/vyrluaConfig.cmake.in
  ${CMAKE_BINARY_DIR}/vyrluaConfig.cmake INSTALL_DESTINATION ${VYRLUA_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vyrluaConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vyrluaConfig.cmake ${CMAKE_BINARY_DIR}/vyrluaConfigVersion.cmake
  DESTINATION ${VYRLUA_INSTALL_CMAKEDIR})

# pkg-config: the host libraries in dependency order, and the Lua they link.
set(VYRLUA_PC_LIBS "-l:vyrlua.so")
foreach(lib exo vyrworkspace vyrundo vyrui vyrdrawbot vyrcrashreporter vyrcore KzKernel)
  if(TARGET ${lib})
    string(APPEND VYRLUA_PC_LIBS " -l${lib}")
  endif()
endforeach()
if(VYRLUA_LUA STREQUAL "LUAJIT")
  set(VYRLUA_PC_LUA luajit)
else()
  set(VYRLUA_PC_LUA lua5.1)
endif()
file(RELATIVE_PATH VYRLUA_PC_UP /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_SOURCE_DIR}/cmake/vyrlua.pc.in ${CMAKE_BINARY_DIR}/vyrlua.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/vyrlua.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
