include(CMakePackageConfigHelpers)

set(VX_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/vxdependency)
set(VX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/vxdependency)

# The public headers: those that export a name, and what they include, at every depth.
function(vx_public_headers result)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
       ${PROJECT_SOURCE_DIR}/vexa/*.h ${PROJECT_SOURCE_DIR}/vxdependency/*.h)
  set(waiting "")
  foreach(header IN LISTS headers)
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} exported REGEX "VX_API " LIMIT_COUNT 1)
    if(exported)
      list(APPEND waiting ${header})
    endif()
  endforeach()
  set(public "")
  while(waiting)
    list(POP_FRONT waiting header)
    list(APPEND public ${header})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include \"")
    list(TRANSFORM includes REPLACE "^#include \"([^\"]*)\".*" "\\1")
    list(APPEND waiting ${includes})
    list(REMOVE_DUPLICATES waiting)
    list(REMOVE_ITEM waiting ${public})
  endwhile()
  list(SORT public)
  set(${result} ${public} PARENT_SCOPE)
endfunction()

vx_public_headers(public_headers)
foreach(header IN LISTS public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

install(TARGETS vxdependency EXPORT vxdependency)
install(TARGETS vxdep)
install(DIRECTORY builtin/ DESTINATION ${VX_INSTALL_DATADIR}/builtin)

install(EXPORT vxdependency NAMESPACE vxdependency:: FILE vxdependencyTargets.cmake
        DESTINATION ${VX_INSTALL_CMAKEDIR})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/vxdependencyConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vxdependencyConfig.cmake INSTALL_DESTINATION ${VX_INSTALL_CMAKEDIR})
# Before version 1.0 a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vxdependencyConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxdependencyConfig.cmake
              ${PROJECT_BINARY_DIR}/vxdependencyConfigVersion.cmake
        DESTINATION ${VX_INSTALL_CMAKEDIR})
