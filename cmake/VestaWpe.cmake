# The receiver's real browser, WPE WebKit: built where its packages are found. The receiver works
# without it, and the library knows nothing of it.

option(VESTA_WITH_WPE "Give the receiver WPE WebKit as a browser, where it is found" ON)

set(wpe_found FALSE)
find_package(PkgConfig QUIET)
if(VESTA_WITH_WPE AND PkgConfig_FOUND)
  pkg_check_modules(WPE QUIET IMPORTED_TARGET
                    wpe-webkit-1.1 wpebackend-fdo-1.0 wayland-server gio-unix-2.0 cairo)
  pkg_check_modules(WPE_MODULE QUIET IMPORTED_TARGET wpe-web-extension-1.1)
  if(WPE_FOUND AND WPE_MODULE_FOUND)
    set(wpe_found TRUE)
  endif()
endif()
if(NOT wpe_found)
  message(STATUS "The receiver has the console browser alone: WPE WebKit is left out or not found")
  return()
endif()

# What every document of a page begins with.
set(script_folder "${PROJECT_SOURCE_DIR}/receiver/objects/scripts")
set(scripts "")
foreach(script IN ITEMS language core document markup keys application_manager channels configuration
        parental_control components stream_events broadcast
        video_place search capabilities media media_elements
        requests end)
  list(APPEND scripts "${script_folder}/${script}.js")
endforeach()
set(boot_script "${PROJECT_BINARY_DIR}/boot_script.cpp")
add_custom_command(
  OUTPUT "${boot_script}"
  COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${boot_script}" "-DSCRIPTS=${scripts}"
          -P "${PROJECT_SOURCE_DIR}/cmake/EmbedScripts.cmake"
  DEPENDS ${scripts} "${PROJECT_SOURCE_DIR}/cmake/EmbedScripts.cmake"
  VERBATIM)

# WebKit loads every library of the folder into its web processes: this one has it for itself.
add_library(vesta_receiver_page MODULE receiver/wpe/page_module.cpp)
set_target_properties(vesta_receiver_page PROPERTIES
  LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/receiver_pages")
install(TARGETS vesta_receiver_page
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/vesta_hbbtv_appman/receiver_pages" COMPONENT receiver)
target_link_libraries(vesta_receiver_page PRIVATE PkgConfig::WPE_MODULE)
target_include_directories(vesta_receiver_page PRIVATE "${PROJECT_SOURCE_DIR}")
vesta_own_code(vesta_receiver_page)
if(VESTA_SANITIZE)
  # The web processes are not ours: no sanitizer's runtime is there.
  target_compile_options(vesta_receiver_page PRIVATE -fno-sanitize=all)
  target_link_options(vesta_receiver_page PRIVATE -fno-sanitize=all)
endif()

file(GLOB wpe_sources CONFIGURE_DEPENDS "receiver/wpe/*.cpp")
list(FILTER wpe_sources EXCLUDE REGEX "/page_module\\.cpp$")
add_library(vesta_receiver_wpe OBJECT ${wpe_sources} "${boot_script}")
target_link_libraries(vesta_receiver_wpe PUBLIC vesta_receiver_objects vesta_receiver_glib PkgConfig::WPE)
target_compile_definitions(vesta_receiver_wpe PUBLIC VESTA_HAS_WPE)
vesta_own_code(vesta_receiver_wpe)
add_dependencies(vesta_receiver_wpe vesta_receiver_page)
target_link_libraries(vesta_receiver PRIVATE vesta_receiver_wpe)
target_compile_definitions(vesta_receiver_objects PRIVATE VESTA_HAS_WPE)
