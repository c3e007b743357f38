# Usage requirements of all our own targets: warnings, floating-point rules, sanitizers.

add_library(vekanalysis_options INTERFACE)

if(MSVC)
  # /fp:precise without /fp:contract never fuses a multiply with an add.
  target_compile_options(vekanalysis_options INTERFACE /W4 /permissive- /utf-8 /fp:precise)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(vekanalysis_options INTERFACE /clang:-ffp-contract=off)
  endif()
else()
  # A result must not depend on whether the machine has fused multiply-adds: no contraction.
  target_compile_options(vekanalysis_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)
endif()

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
