# Warnings are on for everything the project compiles and are kept at zero.
function(zo_enable_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
    -Wnon-virtual-dtor -Wcast-align -Wunused -Wnull-dereference
    -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
  # The eight-lane kernels are always inlined into AVX2 functions, so GCC's
  # note on how 32-byte vector arguments pass without AVX never applies.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-psabi)
  endif()
  if(ZOACTOR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
