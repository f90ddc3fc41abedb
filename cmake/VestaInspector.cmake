# The inspector of signalling, vesta_signalling: it stands on the receiver's demultiplexer and
# carousels and on the kit's guard, and is built where both are.

set(VESTA_HAS_INSPECTOR OFF)
if(VESTA_BUILD_RECEIVER AND TARGET vesta_hbbtv_kit)
  set(VESTA_HAS_INSPECTOR ON)
  file(GLOB_RECURSE inspector_sources CONFIGURE_DEPENDS "inspector/*.cpp")
  list(FILTER inspector_sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(vesta_inspector_objects OBJECT ${inspector_sources})
  target_link_libraries(vesta_inspector_objects PUBLIC vesta_receiver_objects vesta_kit_objects)
  set_source_files_properties(inspector/program.cpp inspector/dump/document.cpp PROPERTIES
    COMPILE_DEFINITIONS "VESTA_VERSION=\"${PROJECT_VERSION}\"")
  vesta_own_code(vesta_inspector_objects)
  vesta_precompile(vesta_inspector_objects <nlohmann/json.hpp>)
  add_executable(vesta_signalling inspector/main.cpp)
  target_link_libraries(vesta_signalling PRIVATE
    vesta_inspector_objects vesta_receiver_objects vesta_kit_objects)
  vesta_own_code(vesta_signalling)
  vesta_install_program(vesta_signalling tools)
endif()
