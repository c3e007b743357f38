# The two header libraries, as system headers: JSON for the export, Boost for the statistics.

find_package(Boost 1.74 QUIET)
find_package(nlohmann_json 3.9 QUIET)

foreach(package Boost nlohmann_json)
  if(NOT ${package}_FOUND)
    list(APPEND missing_packages ${package})
  endif()
endforeach()
if(missing_packages)
  list(JOIN missing_packages " and " missing_packages)
  message(FATAL_ERROR "Missing headers: ${missing_packages}. Install them with one of\n"
    "  Debian, Ubuntu:  apt install libboost-dev nlohmann-json3-dev\n"
    "  Fedora:          dnf install boost-devel json-devel\n"
    "  Homebrew:        brew install boost nlohmann-json\n"
    "  vcpkg:           vcpkg install boost-accumulators nlohmann-json")
endif()
