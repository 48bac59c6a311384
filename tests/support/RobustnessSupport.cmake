# The library inventory and the checked-call engine, shared by the robustness
# tests and the fuzzer. Needs no GoogleTest.
if(NOT TARGET vyr_robustness_support)
  add_library(vyr_robustness_support STATIC
    ${CMAKE_CURRENT_LIST_DIR}/LibraryInventory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ApiExerciser.cpp
    ${CMAKE_CURRENT_LIST_DIR}/HostActions.cpp)
  target_include_directories(vyr_robustness_support PUBLIC
    ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_LIST_DIR}/..)
  target_link_libraries(vyr_robustness_support PUBLIC vyrlua_embed ${CMAKE_DL_LIBS}
    PRIVATE vyr_warnings)
  find_package(Threads REQUIRED)
  target_link_libraries(vyr_robustness_support PUBLIC Threads::Threads)
endif()
