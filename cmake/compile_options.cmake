# Usage requirements of all our own targets: warnings, sanitizers, src as include root.

add_library(vekanalysis_options INTERFACE)
target_include_directories(vekanalysis_options INTERFACE "${PROJECT_SOURCE_DIR}/src")

if(MSVC)
  target_compile_options(vekanalysis_options INTERFACE /W4 /permissive- /utf-8)
else()
  target_compile_options(vekanalysis_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
endif()

# Of everybody who compiles the library or its headers. A result must not depend on whether the
# machine has fused multiply-adds: no contraction.
if(MSVC)
  # Without /fp:contract /fp:precise never fuses a multiply with an add.
  set(floating_point_options /fp:precise)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    list(APPEND floating_point_options /clang:-ffp-contract=off)
  endif()
else()
  set(floating_point_options -ffp-contract=off)
endif()
list(TRANSFORM floating_point_options REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:\\1>")

if(VEKANALYSIS_WERROR)
  if(MSVC)
    target_compile_options(vekanalysis_options INTERFACE /WX)
  else()
    target_compile_options(vekanalysis_options INTERFACE -Werror)
  endif()
endif()

if(VEKANALYSIS_SANITIZE)
  target_compile_options(vekanalysis_options INTERFACE
    -fsanitize=${VEKANALYSIS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vekanalysis_options INTERFACE -fsanitize=${VEKANALYSIS_SANITIZE})
endif()
