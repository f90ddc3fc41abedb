# The library as it is shipped: shared and static, with its exports, installation and packages.

set(VESTA_EXPORTS "${CMAKE_CURRENT_SOURCE_DIR}/cmake/exports.map")
set(VESTA_REPLACEABLE "${CMAKE_CURRENT_SOURCE_DIR}/cmake/replaceable.list")
# What the integrator can replace, and data that executables may copy into themselves, is never
# bound inside the library.
set(VESTA_EXPORT_OPTIONS
  "LINKER:--version-script=${VESTA_EXPORTS}" "LINKER:--dynamic-list=${VESTA_REPLACEABLE}")
# The browser brings its functions (ve_*): they stay undefined, also where a distribution's flags forbid that.
include(CheckCXXSourceCompiles)
separate_arguments(CMAKE_REQUIRED_LINK_OPTIONS UNIX_COMMAND "${CMAKE_SHARED_LINKER_FLAGS}")
list(APPEND CMAKE_REQUIRED_LINK_OPTIONS LINKER:-z,undefs)
check_cxx_source_compiles("int main() { return 0; }" VESTA_LINKER_LEAVES_UNDEFINED)
unset(CMAKE_REQUIRED_LINK_OPTIONS)
if(VESTA_LINKER_LEAVES_UNDEFINED)
  list(APPEND VESTA_EXPORT_OPTIONS LINKER:-z,undefs)
endif()

# The headers that an integration needs, besides those of include/.
set(VESTA_INSTALLED_HEADERS
  foundation/byte_reader.h
  foundation/configuration_manager.h
  foundation/descriptor.h
  foundation/logging.h
  foundation/mutex.h
  foundation/ref_ptr.h
  foundation/small_vector.h
  foundation/threadsafe_event_queue.h
  foundation/utilities.h
  foundation/visibility.h
  integration/application_events.h
  integration/key_set.h
  security/application_domain.h
  security/sha256.h)
file(GLOB signalling_headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "signalling/*.h")
list(FILTER signalling_headers EXCLUDE REGEX "refused_section")
list(APPEND VESTA_INSTALLED_HEADERS ${signalling_headers})

add_library(vesta_hbbtv_appman SHARED $<TARGET_OBJECTS:vesta_objects>)
set_target_properties(vesta_hbbtv_appman PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS "${VESTA_EXPORTS};${VESTA_REPLACEABLE}")
target_link_options(vesta_hbbtv_appman PRIVATE ${VESTA_EXPORT_OPTIONS})
if(VESTA_LTO)
  target_link_options(vesta_hbbtv_appman PRIVATE -flto=auto)
endif()
target_link_libraries(vesta_hbbtv_appman PRIVATE Threads::Threads)

add_library(vesta_hbbtv_appman_static STATIC $<TARGET_OBJECTS:vesta_objects>)
set_target_properties(vesta_hbbtv_appman_static PROPERTIES OUTPUT_NAME vesta_hbbtv_appman)
target_link_libraries(vesta_hbbtv_appman_static INTERFACE Threads::Threads)

# Others include <vesta_hbbtv_appman/signalling/ait.h>, and so do these headers among themselves there:
# a foundation/ref_ptr.h of an integrator's own never takes the place of ours, nor ours of theirs.
set(VESTA_CLASS_HEADERS "${CMAKE_CURRENT_BINARY_DIR}/include")
list(JOIN VESTA_FOLDERS "|" folders)
foreach(header IN LISTS VESTA_INSTALLED_HEADERS)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
  file(READ "${header}" text)
  string(REGEX REPLACE "#include \"((${folders})/[a-z0-9_/]+[.]h)\"" "#include <vesta_hbbtv_appman/\\1>"
         text "${text}")
  file(CONFIGURE OUTPUT "${VESTA_CLASS_HEADERS}/vesta_hbbtv_appman/${header}" CONTENT "${text}"
       @ONLY)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES "${VESTA_CLASS_HEADERS}/vesta_hbbtv_appman/${header}"
          DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vesta_hbbtv_appman/${folder}"
          COMPONENT development)
endforeach()

foreach(library vesta_hbbtv_appman vesta_hbbtv_appman_static)
  target_include_directories(${library} INTERFACE
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>"
    "$<BUILD_INTERFACE:${VESTA_CLASS_HEADERS}>"
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"  # as the project's own code spells them
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_compile_features(${library} INTERFACE cxx_std_17)
  add_library(vesta_hbbtv_appman::${library} ALIAS ${library})
endforeach()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/vesta_hbbtv_appman")
install(TARGETS vesta_hbbtv_appman vesta_hbbtv_appman_static EXPORT vesta_hbbtv_appman
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
install(FILES ${VESTA_PUBLIC_HEADERS} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

install(EXPORT vesta_hbbtv_appman NAMESPACE vesta_hbbtv_appman::
        FILE vesta_hbbtv_appmanTargets.cmake DESTINATION "${package_folder}"
        COMPONENT development)
configure_package_config_file(cmake/vesta_hbbtv_appmanConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/vesta_hbbtv_appmanConfig.cmake"
  INSTALL_DESTINATION "${package_folder}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/vesta_hbbtv_appmanConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/vesta_hbbtv_appmanConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/vesta_hbbtv_appmanConfigVersion.cmake"
  DESTINATION "${package_folder}" COMPONENT development)

# The pkg-config file finds its folders from where it lies, so that the installation can be moved;
# not so with folders that are given whole.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(VESTA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(VESTA_PC_LIBDIR "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(VESTA_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
else()
  cmake_path(SET pkgconfig_folder NORMALIZE "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  cmake_path(RELATIVE_PATH pkgconfig_folder BASE_DIRECTORY "/prefix" OUTPUT_VARIABLE inside_prefix)
  string(REGEX REPLACE "[^/]+" ".." way_up "${inside_prefix}")
  set(VESTA_PC_PREFIX "\${pcfiledir}/${way_up}")
  set(VESTA_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(VESTA_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# pkg-config has no way to say "instead": what --static adds comes first, and the shared library, a
# module of its own, is then not needed any more.
#   vesta_install_pkg_config(COMPONENT NAME...)
function(vesta_install_pkg_config component)
  foreach(name IN LISTS ARGN)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
            COMPONENT ${component})
  endforeach()
endfunction()
vesta_install_pkg_config(development vesta_hbbtv_appman vesta_hbbtv_appman-shared)
