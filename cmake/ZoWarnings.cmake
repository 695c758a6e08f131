# Warnings are on for everything the project compiles and are kept at zero.
function(zo_enable_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
    -Wnon-virtual-dtor -Wcast-align -Wunused -Wnull-dereference
    -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
  if(ZOACTOR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
