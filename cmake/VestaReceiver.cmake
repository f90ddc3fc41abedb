# The reference receiver: built where its packages are found.

find_path(DVBPSI_INCLUDE_DIR dvbpsi/dvbpsi.h)
find_library(DVBPSI_LIBRARY dvbpsi)
find_package(ZLIB QUIET)
find_package(LibXml2 QUIET)
find_package(nlohmann_json 3 QUIET)
find_path(EDITLINE_INCLUDE_DIR editline/readline.h)
find_library(EDITLINE_LIBRARY edit)
if(DVBPSI_INCLUDE_DIR AND DVBPSI_LIBRARY AND ZLIB_FOUND AND LibXml2_FOUND AND nlohmann_json_FOUND
   AND EDITLINE_INCLUDE_DIR AND EDITLINE_LIBRARY AND NOT CMAKE_CROSSCOMPILING AND NOT VESTA_32BIT)
  set(receiver_possible ON)
else()
  set(receiver_possible OFF)
endif()
option(VESTA_BUILD_RECEIVER "Build the reference receiver (libdvbpsi, zlib, libxml2, libedit, nlohmann_json)"
       ${receiver_possible})

if(VESTA_BUILD_RECEIVER)
  file(GLOB receiver_sources CONFIGURE_DEPENDS "receiver/*.cpp")
  list(FILTER receiver_sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(vesta_receiver_objects OBJECT ${receiver_sources})
  target_include_directories(vesta_receiver_objects SYSTEM PUBLIC
    "${DVBPSI_INCLUDE_DIR}" "${EDITLINE_INCLUDE_DIR}")
  target_link_libraries(vesta_receiver_objects PUBLIC
    vesta_hbbtv_appman "${DVBPSI_LIBRARY}" ZLIB::ZLIB LibXml2::LibXml2 "${EDITLINE_LIBRARY}"
    nlohmann_json::nlohmann_json Threads::Threads)
  vesta_own_code(vesta_receiver_objects)
  add_executable(vesta_receiver receiver/main.cpp)
  target_link_libraries(vesta_receiver PRIVATE vesta_receiver_objects)
  vesta_own_code(vesta_receiver)
endif()
