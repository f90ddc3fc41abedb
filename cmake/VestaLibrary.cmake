# The library as it is shipped: shared and static, with its exports, installation and packages.

set(VESTA_EXPORTS "${CMAKE_CURRENT_SOURCE_DIR}/cmake/exports.map")
set(VESTA_REPLACEABLE "${CMAKE_CURRENT_SOURCE_DIR}/cmake/replaceable.list")

add_library(vesta_hbbtv_appman SHARED)
target_link_libraries(vesta_hbbtv_appman PRIVATE vesta_objects Threads::Threads)
set_target_properties(vesta_hbbtv_appman PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS "${VESTA_EXPORTS};${VESTA_REPLACEABLE}")
# The browser's functions (ve_*) stay undefined: the browser brings them.
target_link_options(vesta_hbbtv_appman PRIVATE
  "LINKER:--version-script=${VESTA_EXPORTS}" "LINKER:--dynamic-list=${VESTA_REPLACEABLE}")

add_library(vesta_hbbtv_appman_static STATIC)
target_link_libraries(vesta_hbbtv_appman_static PRIVATE vesta_objects)
target_link_libraries(vesta_hbbtv_appman_static INTERFACE Threads::Threads)

foreach(library vesta_hbbtv_appman vesta_hbbtv_appman_static)
  target_include_directories(${library} INTERFACE
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>"
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vesta_hbbtv_appman>")
  target_compile_features(${library} INTERFACE cxx_std_17)
  add_library(vesta_hbbtv_appman::${library} ALIAS ${library})
endforeach()
