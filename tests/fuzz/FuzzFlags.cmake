# The fuzz configuration: clang only, coverage feedback on every target so
# the fuzzer sees into the library and the host, not only its own code.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "VYRLUA_FUZZ needs clang (configure with CXX=clang++-14)")
endif()
if(NOT VYRLUA_SANITIZE)
  message(FATAL_ERROR "VYRLUA_FUZZ needs VYRLUA_SANITIZE=ON")
endif()
add_compile_options(-fsanitize=fuzzer-no-link)
