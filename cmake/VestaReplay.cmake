# The replay of records, vesta_replay: it opens the library, or any other build of it, while it runs,
# and is its browser and its platform. Built where its package, of headers alone, is found, unless
# VESTA_BUILD_REPLAY says otherwise.

find_package(nlohmann_json 3 QUIET)
set(replay_lacks "")
if(NOT nlohmann_json_FOUND)
  list(APPEND replay_lacks nlohmann_json)
endif()
vesta_decide_on(VESTA_BUILD_REPLAY "The replay of records" replay_lacks)
if(NOT VESTA_BUILD_REPLAY)
  return()
endif()

file(GLOB replay_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/replay/*.cpp")
list(FILTER replay_sources EXCLUDE REGEX "/main\\.cpp$")
file(GLOB boundary_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/recorder/boundary/*.cpp")
# Of the rest what stands alone is taken along.
add_library(vesta_replay_objects OBJECT ${replay_sources} ${boundary_sources}
  receiver/installation.cpp receiver/integration/decision_sentence.cpp security/sha256.cpp)
target_include_directories(vesta_replay_objects PUBLIC
  "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/kit/include" "${PROJECT_SOURCE_DIR}")
target_link_libraries(vesta_replay_objects PUBLIC
  nlohmann_json::nlohmann_json Threads::Threads ${CMAKE_DL_LIBS})
# Of ARM's g++, which says of each of nlohmann_json's iterators that an older one would have passed it
# otherwise.
target_compile_options(vesta_replay_objects PUBLIC $<$<CXX_COMPILER_ID:GNU>:-Wno-psabi>)
set_source_files_properties(replay/program.cpp PROPERTIES
  COMPILE_DEFINITIONS "VESTA_VERSION=\"${PROJECT_VERSION}\"")
# Nothing of the program is to take the place of what the library has itself.
set_target_properties(vesta_replay_objects PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
vesta_own_code(vesta_replay_objects)
vesta_precompile(vesta_replay_objects <nlohmann/json.hpp>)

set(VESTA_REPLAY_EXPORTS "${PROJECT_SOURCE_DIR}/cmake/replay_exports.list")
set(VESTA_REPLAY_LINK_OPTIONS "LINKER:--dynamic-list=${VESTA_REPLAY_EXPORTS}")
add_executable(vesta_replay replay/main.cpp)
set_target_properties(vesta_replay PROPERTIES LINK_DEPENDS "${VESTA_REPLAY_EXPORTS}")
target_link_options(vesta_replay PRIVATE ${VESTA_REPLAY_LINK_OPTIONS})
target_link_libraries(vesta_replay PRIVATE vesta_replay_objects)
vesta_own_code(vesta_replay)
vesta_install_program(vesta_replay tools)
