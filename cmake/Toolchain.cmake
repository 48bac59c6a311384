# Warnings, sanitizers and compiler caching shared by every target.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(vyr_warnings INTERFACE)
target_compile_options(vyr_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter)

if(VYRLUA_SANITIZE)
  # float-cast-overflow is named on its own: gcc leaves it out of "undefined".
  set(VYR_SAN_FLAGS -fsanitize=address,undefined,float-cast-overflow
      -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${VYR_SAN_FLAGS})
  add_link_options(${VYR_SAN_FLAGS})
endif()
