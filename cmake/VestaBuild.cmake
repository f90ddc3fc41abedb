# How the project's own code is compiled and linked.

# Where the 32-bit headers of the kernel are not installed, those of the 64-bit side serve.
set(VESTA_32BIT_HEADERS "")
if(VESTA_32BIT AND EXISTS "/usr/include/x86_64-linux-gnu/asm")
  set(VESTA_32BIT_HEADERS "-isystem /usr/include/x86_64-linux-gnu")
  add_compile_options("SHELL:${VESTA_32BIT_HEADERS}")
endif()

# On 32 bits nothing but this opens files of more than 2 GiB, or those of file systems with long numbers.
add_compile_definitions(_FILE_OFFSET_BITS=64)

if(VESTA_SANITIZE)
  add_compile_options("-fsanitize=${VESTA_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${VESTA_SANITIZE}")
endif()

# The warnings that our own code is held to. CMAKE_COMPILE_WARNING_AS_ERROR makes them errors, as the presets
# have it: a compiler that knows more of them shall not fail anybody else's build.
function(vesta_own_code target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endfunction()

# vesta_precompile(TARGET HEADER...): half of what a source takes to compile may be one header's time. Not by
# default: without it the compiler sees that each source includes what it uses.
function(vesta_precompile target)
  if(VESTA_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# Where libraries are installed, seen from the programs, so that an installation can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_FULL_BINDIR}"
           OUTPUT_VARIABLE VESTA_LIBRARY_FOLDER)
set_source_files_properties(receiver/installation.cpp PROPERTIES
  COMPILE_DEFINITIONS "VESTA_LIBRARY_FOLDER=\"${VESTA_LIBRARY_FOLDER}\"")

# Installs a program with its man page.
function(vesta_install_program target component)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${VESTA_LIBRARY_FOLDER}")
  install(TARGETS ${target} COMPONENT ${component})
  install(FILES "${PROJECT_SOURCE_DIR}/packaging/man/${target}.1"
          DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT ${component})
endfunction()

# Decides on a part beside the library: it is built where its packages are found, unless VARIABLE says
# otherwise. What was not said is decided anew by each configuration, and not kept in the cache: that
# is the user's.
#   vesta_decide_on(VARIABLE "The part" LACKS [ON_THIS_MACHINE])
# LACKS is the list of packages that were not found. ON_THIS_MACHINE: only where the build is for the
# machine that it runs on, and the project is nobody's part.
macro(vesta_decide_on variable part lacks)
  list(JOIN ${lacks} ", " lacking)
  if(NOT DEFINED ${variable})
    set(${variable} OFF)
    if("${ARGN}" STREQUAL "ON_THIS_MACHINE" AND
       (NOT PROJECT_IS_TOP_LEVEL OR CMAKE_CROSSCOMPILING OR VESTA_32BIT))
      # Nothing to say: nobody expects it.
    elseif(lacking STREQUAL "")
      set(${variable} ON)
    else()
      message(STATUS "${part} is left out: ${lacking} not found")
    endif()
  elseif(${variable} AND NOT lacking STREQUAL "")
    message(FATAL_ERROR "${variable} is on, but not found: ${lacking}")
  endif()
endmacro()
