# The station, which makes transport streams for the receiver: built where its packages are found,
# unless VESTA_BUILD_STATION says otherwise. It has no part in the library, nor the library in it.

find_package(ZLIB QUIET)
find_package(nlohmann_json 3 QUIET)

set(station_lacks "")
if(NOT ZLIB_FOUND)
  list(APPEND station_lacks zlib)
endif()
if(NOT nlohmann_json_FOUND)
  list(APPEND station_lacks nlohmann_json)
endif()
vesta_decide_on(VESTA_BUILD_STATION "The station" station_lacks ON_THIS_MACHINE)

if(VESTA_BUILD_STATION)
  file(GLOB_RECURSE station_sources CONFIGURE_DEPENDS "station/*.cpp")
  list(FILTER station_sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(vesta_station_objects OBJECT ${station_sources})
  target_include_directories(vesta_station_objects PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(vesta_station_objects PUBLIC ZLIB::ZLIB nlohmann_json::nlohmann_json)
  set_source_files_properties(station/program.cpp PROPERTIES
    COMPILE_DEFINITIONS "VESTA_VERSION=\"${PROJECT_VERSION}\"")
  vesta_own_code(vesta_station_objects)
  vesta_precompile(vesta_station_objects <nlohmann/json.hpp>)
  add_executable(vesta_station station/main.cpp)
  target_link_libraries(vesta_station PRIVATE vesta_station_objects)
  vesta_own_code(vesta_station)
  vesta_install_program(vesta_station tools)
endif()
