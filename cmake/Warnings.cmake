# What every target of this tree is compiled with.

# Half of the time to compile a small source goes to these; each source includes what it uses all
# the same.
set(VX_COMMON_HEADERS <algorithm> <functional> <map> <memory> <mutex> <string> <string_view>
                      <unordered_map> <unordered_set> <vector>)

add_library(vx_options INTERFACE)
target_include_directories(vx_options INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
if(MSVC)
  target_compile_options(vx_options INTERFACE /W4 /permissive-)
else()
  target_compile_options(vx_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                         -Woverloaded-virtual)
endif()
# Before version 13, GCC sees overlapping copies and bounds passed in the inlined code of std::string
# where there are none (bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(vx_options INTERFACE -Wno-restrict -Wno-array-bounds
                         -Wno-stringop-overflow)
endif()
if(VX_WERROR)
  target_compile_options(vx_options INTERFACE $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
endif()
if(UNIX AND NOT APPLE)
  # Packages name libraries of which nothing is left to be taken, as when their headers hold all.
  target_link_options(vx_options INTERFACE LINKER:--as-needed)
endif()
if(VX_SANITIZE)
  target_compile_options(vx_options INTERFACE -fsanitize=${VX_SANITIZE} -fno-omit-frame-pointer
                         -fno-sanitize-recover=all)
  target_link_options(vx_options INTERFACE -fsanitize=${VX_SANITIZE})
endif()
if(VX_FUZZ)
  target_compile_options(vx_options INTERFACE
                         -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/tests/fuzz/ignored.txt)
endif()
