# The reference receiver: built where its packages are found, unless VESTA_BUILD_RECEIVER says
# otherwise.

find_path(DVBPSI_INCLUDE_DIR dvbpsi/dvbpsi.h)
find_library(DVBPSI_LIBRARY dvbpsi)
find_package(ZLIB QUIET)
find_package(LibXml2 QUIET)
find_package(nlohmann_json 3 QUIET)
find_path(EDITLINE_INCLUDE_DIR editline/readline.h)
find_library(EDITLINE_LIBRARY edit)

set(receiver_lacks "")
if(NOT DVBPSI_INCLUDE_DIR OR NOT DVBPSI_LIBRARY)
  list(APPEND receiver_lacks libdvbpsi)
endif()
if(NOT ZLIB_FOUND)
  list(APPEND receiver_lacks zlib)
endif()
if(NOT LibXml2_FOUND)
  list(APPEND receiver_lacks libxml2)
endif()
if(NOT nlohmann_json_FOUND)
  list(APPEND receiver_lacks nlohmann_json)
endif()
if(NOT EDITLINE_INCLUDE_DIR OR NOT EDITLINE_LIBRARY)
  list(APPEND receiver_lacks libedit)
endif()
if(NOT TARGET vesta_hbbtv_kit)
  list(APPEND receiver_lacks "the kit")
endif()
vesta_decide_on(VESTA_BUILD_RECEIVER "The reference receiver" receiver_lacks ON_THIS_MACHINE)

if(VESTA_BUILD_RECEIVER)
  file(GLOB_RECURSE receiver_sources CONFIGURE_DEPENDS "receiver/*.cpp")
  list(FILTER receiver_sources EXCLUDE REGEX "/(main|outside)\\.cpp$|/receiver/(wpe|glib|web/server)/")
  # The page that the receiver serves, as it stands, and what a report is made of.
  file(GLOB page_files CONFIGURE_DEPENDS "receiver/web/page/*")
  set(page_source "${CMAKE_CURRENT_BINARY_DIR}/page_files.cpp")
  add_custom_command(
    OUTPUT "${page_source}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${page_source}" "-DFILES=${page_files}"
            -P "${CMAKE_CURRENT_SOURCE_DIR}/cmake/EmbedFiles.cmake"
    DEPENDS ${page_files} cmake/EmbedFiles.cmake
    VERBATIM)
  add_library(vesta_receiver_objects OBJECT ${receiver_sources} "${page_source}")
  target_include_directories(vesta_receiver_objects SYSTEM PUBLIC
    "${DVBPSI_INCLUDE_DIR}" "${EDITLINE_INCLUDE_DIR}")
  target_link_libraries(vesta_receiver_objects PUBLIC
    vesta_hbbtv_kit "${DVBPSI_LIBRARY}" ZLIB::ZLIB LibXml2::LibXml2 "${EDITLINE_LIBRARY}"
    nlohmann_json::nlohmann_json Threads::Threads)
  set_source_files_properties(receiver/options.cpp receiver/web/report.cpp
    receiver/web/state_document.cpp receiver/web/server/event_streams.cpp PROPERTIES
    COMPILE_DEFINITIONS "VESTA_VERSION=\"${PROJECT_VERSION}\"")
  vesta_own_code(vesta_receiver_objects)
  vesta_precompile(vesta_receiver_objects <nlohmann/json.hpp>)
  add_executable(vesta_receiver receiver/main.cpp receiver/outside.cpp)
  target_link_libraries(vesta_receiver PRIVATE vesta_receiver_objects)
  vesta_own_code(vesta_receiver)
  vesta_install_program(vesta_receiver receiver)
  include(cmake/VestaGLib.cmake)
  include(cmake/VestaWpe.cmake)
endif()
