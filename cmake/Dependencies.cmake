find_package(Threads REQUIRED)
find_package(spdlog REQUIRED)
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(tsl-robin-map REQUIRED)
find_package(Lua 5.4 EXACT REQUIRED)

# What of a library is linked. Programs hold it themselves where there is an archive of it: a process
# that answers one question spends more time on loading libraries than on the answer. The archives
# of Debian cannot become part of a shared library.
function(vx_link_library target library)
  cmake_path(GET library STEM LAST_ONLY stem)
  find_library(${target}_ARCHIVE ${stem}.a)
  if(${target}_ARCHIVE)
    set(library "$<IF:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>,${${target}_ARCHIVE},${library}>")
  endif()
  set_property(TARGET vx::${target} APPEND PROPERTY INTERFACE_LINK_LIBRARIES ${library})
endfunction()

function(vx_plain_library target header library)
  find_path(${target}_INCLUDE ${header} REQUIRED)
  add_library(vx::${target} INTERFACE IMPORTED GLOBAL)
  set_target_properties(vx::${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${${target}_INCLUDE})
  if(library)
    find_library(${target}_LIBRARY ${library} REQUIRED)
    vx_link_library(${target} ${${target}_LIBRARY})
  endif()
endfunction()

vx_plain_library(boost_filesystem boost/filesystem.hpp boost_filesystem)
vx_plain_library(lmdb lmdb.h lmdb)
vx_plain_library(pugixml pugixml.hpp pugixml)
vx_plain_library(rapidjson rapidjson/rapidjson.h "")
vx_plain_library(xxhash xxhash.h xxhash)

add_library(vx::lua INTERFACE IMPORTED GLOBAL)
set_target_properties(vx::lua PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${LUA_INCLUDE_DIR}"
                      INTERFACE_LINK_LIBRARIES "${LUA_MATH_LIBRARY};${CMAKE_DL_LIBS}")
vx_link_library(lua ${LUA_LIBRARY})
