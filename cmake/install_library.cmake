# Headers and library for C++ projects: find_package(vekanalysis), target vekanalysis::vekanalysis.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The same spelling for those who add this project to theirs.
set(forwarding_headers "${CMAKE_CURRENT_BINARY_DIR}/include")
foreach(header IN LISTS public_headers)
  file(CONFIGURE OUTPUT "${forwarding_headers}/vekanalysis/${header}"
    CONTENT "#include \"${CMAKE_CURRENT_SOURCE_DIR}/${header}\"\n" @ONLY)
endforeach()
target_include_directories(vekanalysis INTERFACE
  "$<BUILD_INTERFACE:${forwarding_headers}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")

# A library with sanitizers works in this build alone, and part of another project is not ours to
# install.
if(VEKANALYSIS_SANITIZE OR NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/vekanalysis")
foreach(header IN LISTS public_headers)
  cmake_path(GET header PARENT_PATH area)
  install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vekanalysis/${area}"
    COMPONENT cpp)
endforeach()
install(TARGETS vekanalysis EXPORT vekanalysis ARCHIVE COMPONENT cpp)
# It needs no other package, so the targets are all of the configuration.
install(EXPORT vekanalysis DESTINATION "${package_directory}" COMPONENT cpp
  FILE vekanalysisConfig.cmake NAMESPACE vekanalysis::)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/vekanalysisConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/vekanalysisConfigVersion.cmake"
  DESTINATION "${package_directory}" COMPONENT cpp)
# The terms of the tables go with them.
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" lighting/data/NOTICE
  DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT cpp)
