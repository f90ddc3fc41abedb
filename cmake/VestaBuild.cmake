# How the project's own code is compiled and linked.

# Where the 32-bit headers of the kernel are not installed, those of the 64-bit side serve.
set(VESTA_32BIT_HEADERS "")
if(VESTA_32BIT AND EXISTS "/usr/include/x86_64-linux-gnu/asm")
  set(VESTA_32BIT_HEADERS "-isystem /usr/include/x86_64-linux-gnu")
  add_compile_options("SHELL:${VESTA_32BIT_HEADERS}")
endif()

if(VESTA_SANITIZE)
  add_compile_options("-fsanitize=${VESTA_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${VESTA_SANITIZE}")
endif()

# The warnings that our own code is held to; they are errors.
function(vesta_own_code target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Werror
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endfunction()
