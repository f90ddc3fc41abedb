# The kit: a second library, for what integrations need beside the application manager. Built where
# its package is found, unless VESTA_BUILD_KIT says otherwise. The application manager knows nothing
# of it.

find_package(EXPAT QUIET)
set(expat_found ${EXPAT_FOUND})
if(EXPAT_FOUND AND (VESTA_32BIT OR CMAKE_CROSSCOMPILING))
  # What is found may be the build machine's: it serves only where it can be linked.
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_LIBRARIES EXPAT::EXPAT)
  unset(VESTA_EXPAT_LINKS CACHE)
  check_cxx_source_compiles(
    "#include <expat.h>\nint main() { return XML_ParserCreate(nullptr) == nullptr; }"
    VESTA_EXPAT_LINKS)
  unset(CMAKE_REQUIRED_LIBRARIES)
  set(expat_found ${VESTA_EXPAT_LINKS})
endif()

set(kit_lacks "")
if(NOT expat_found)
  set(kit_lacks "expat for this processor")
endif()
vesta_decide_on(VESTA_BUILD_KIT "The kit" kit_lacks)
# Without expat for another processor than the build machine's, the feed is still tried there.
set(VESTA_KIT_FEED_ALONE OFF)
if(NOT VESTA_BUILD_KIT AND NOT expat_found AND PROJECT_IS_TOP_LEVEL AND
   (VESTA_32BIT OR CMAKE_CROSSCOMPILING))
  set(VESTA_KIT_FEED_ALONE ON)
endif()
if(NOT VESTA_BUILD_KIT AND NOT VESTA_KIT_FEED_ALONE)
  return()
endif()

file(GLOB kit_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/kit/*.cpp")
if(VESTA_KIT_FEED_ALONE)
  list(FILTER kit_sources EXCLUDE REGEX "/(xml_[a-z_]+|url_reference|entry_points)[.]cpp$")
endif()
add_library(vesta_kit_objects OBJECT ${kit_sources})
target_include_directories(vesta_kit_objects PUBLIC
  "${PROJECT_SOURCE_DIR}/kit/include" "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}")
vesta_own_code(vesta_kit_objects)
if(VESTA_SANITIZE)
  target_compile_options(vesta_kit_objects PRIVATE -O1)
endif()
if(VESTA_KIT_FEED_ALONE)
  return()
endif()
target_link_libraries(vesta_kit_objects PUBLIC EXPAT::EXPAT)

set(VESTA_KIT_EXPORTS "${PROJECT_SOURCE_DIR}/cmake/kit_exports.map")
add_library(vesta_hbbtv_kit SHARED $<TARGET_OBJECTS:vesta_kit_objects>)
set_target_properties(vesta_hbbtv_kit PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME kit
  LINK_DEPENDS "${VESTA_KIT_EXPORTS}")
target_link_options(vesta_hbbtv_kit PRIVATE "LINKER:--version-script=${VESTA_KIT_EXPORTS}")
target_link_libraries(vesta_hbbtv_kit PUBLIC vesta_hbbtv_appman PRIVATE EXPAT::EXPAT)

add_library(vesta_hbbtv_kit_static STATIC $<TARGET_OBJECTS:vesta_kit_objects>)
set_target_properties(vesta_hbbtv_kit_static PROPERTIES
  OUTPUT_NAME vesta_hbbtv_kit EXPORT_NAME kit_static)
target_link_libraries(vesta_hbbtv_kit_static PUBLIC vesta_hbbtv_appman_static PRIVATE EXPAT::EXPAT)

foreach(library vesta_hbbtv_kit vesta_hbbtv_kit_static)
  target_include_directories(${library} INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/kit/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
endforeach()
add_library(vesta_hbbtv_appman::kit ALIAS vesta_hbbtv_kit)
add_library(vesta_hbbtv_appman::kit_static ALIAS vesta_hbbtv_kit_static)

# A set of its own, so that the application manager's is complete without the kit.
install(TARGETS vesta_hbbtv_kit vesta_hbbtv_kit_static EXPORT vesta_hbbtv_kit
        LIBRARY COMPONENT kit-runtime NAMELINK_COMPONENT kit-development
        ARCHIVE COMPONENT kit-development)
install(FILES kit/include/vesta_hbbtv_kit.h kit/include/vesta_hbbtv_kit_layout.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT kit-development)
install(EXPORT vesta_hbbtv_kit NAMESPACE vesta_hbbtv_appman::
        FILE vesta_hbbtv_appmanKitTargets.cmake DESTINATION "${package_folder}"
        COMPONENT kit-development)
vesta_install_pkg_config(kit-development vesta_hbbtv_kit vesta_hbbtv_kit-shared)
