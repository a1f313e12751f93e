# What several tools use. The fuzzers build parts of the daemon without tools/CMakeLists.txt.
include_guard(GLOBAL)
add_library(tools_common STATIC
  ${PROJECT_SOURCE_DIR}/tools/capabilities.cpp
  ${PROJECT_SOURCE_DIR}/tools/console.cpp
  ${PROJECT_SOURCE_DIR}/tools/safe_text.cpp
  ${PROJECT_SOURCE_DIR}/tools/text_table.cpp)
qel_precompile(tools_common meshdump_core)
target_include_directories(tools_common PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(tools_common PUBLIC mesh_shared PRIVATE qel_build_flags)
