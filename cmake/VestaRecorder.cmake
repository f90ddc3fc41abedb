# The recorder: a library that is loaded before the application manager and writes down what crosses
# its boundary. It knows the interfaces alone, and is linked with neither library.

file(GLOB recorder_sources CONFIGURE_DEPENDS
  "${PROJECT_SOURCE_DIR}/recorder/*.cpp" "${PROJECT_SOURCE_DIR}/recorder/boundary/*.cpp")
set(VESTA_RECORDER_EXPORTS "${PROJECT_SOURCE_DIR}/cmake/recorder_exports.map")
add_library(vesta_recorder_objects OBJECT ${recorder_sources} security/sha256.cpp
  integration/c_interface.cpp)  # which lead to the recorder's own of these functions
target_include_directories(vesta_recorder_objects PUBLIC
  "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/kit/include" "${PROJECT_SOURCE_DIR}")
set_target_properties(vesta_recorder_objects PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
target_link_libraries(vesta_recorder_objects PUBLIC Threads::Threads ${CMAKE_DL_LIBS})
vesta_own_code(vesta_recorder_objects)

add_library(vesta_hbbtv_recorder SHARED $<TARGET_OBJECTS:vesta_recorder_objects>)
set_target_properties(vesta_hbbtv_recorder PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME recorder
  LINK_DEPENDS "${VESTA_RECORDER_EXPORTS}")
target_link_options(vesta_hbbtv_recorder PRIVATE
  "LINKER:--version-script=${VESTA_RECORDER_EXPORTS}")
if(NOT VESTA_SANITIZE)  # whose functions the program brings
  target_link_options(vesta_hbbtv_recorder PRIVATE LINKER:--no-undefined)
endif()
target_link_libraries(vesta_hbbtv_recorder PRIVATE Threads::Threads ${CMAKE_DL_LIBS})
add_library(vesta_hbbtv_appman::recorder ALIAS vesta_hbbtv_recorder)

# A set of its own, as of the kit.
install(TARGETS vesta_hbbtv_recorder EXPORT vesta_hbbtv_recorder
        LIBRARY COMPONENT recorder NAMELINK_COMPONENT recorder)
install(EXPORT vesta_hbbtv_recorder NAMESPACE vesta_hbbtv_appman::
        FILE vesta_hbbtv_appmanRecorderTargets.cmake DESTINATION "${package_folder}"
        COMPONENT recorder)
vesta_install_pkg_config(recorder vesta_hbbtv_recorder)
