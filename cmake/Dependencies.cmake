# Third-party libraries, all from Debian packages.
find_package(PkgConfig REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS regex)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
# The window mode of vyrlua-host.
pkg_check_modules(SDL2 REQUIRED IMPORTED_TARGET sdl2)
# JSON for property lists on disk (header-only).
find_package(nlohmann_json 3.10 REQUIRED)
# OpenGL through libglvnd: libOpenGL for the GL calls, libEGL for contexts.
set(OpenGL_GL_PREFERENCE GLVND)
find_package(OpenGL REQUIRED COMPONENTS OpenGL EGL)

# Headers: always the 5.1 ones, so vyrlua.so is one binary for both Lua builds.
add_library(vyr_lua_headers INTERFACE)
target_include_directories(vyr_lua_headers SYSTEM INTERFACE /usr/include/lua5.1)

# The Lua runtime the host links.
if(VYRLUA_LUA STREQUAL "LUAJIT")
  pkg_check_modules(LUART REQUIRED IMPORTED_TARGET luajit)
  set(VYRLUA_LUA_NAME "LuaJIT 2.1")
else()
  pkg_check_modules(LUART REQUIRED IMPORTED_TARGET lua5.1)
  set(VYRLUA_LUA_NAME "Lua 5.1")
endif()
add_library(vyr_lua_runtime INTERFACE)
target_link_libraries(vyr_lua_runtime INTERFACE vyr_lua_headers ${LUART_LINK_LIBRARIES})
