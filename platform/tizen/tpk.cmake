# Makes a project that the command line tools of the public SDK pack as a TPK:
#
#     cmake -D FOLDER=FOLDER -D SERVICES="LIBRARY LIBRARY" [-D NAME=VALUE]... -P platform/tizen/tpk.cmake
#
# The variables have the meaning of the cache variables in README.md: SERVICES, SERVICES_LINKAGE,
# SERVICES_HEADER, PRIVILEGES and API_VERSION. PROFILE is the profile of the SDK with its version.
cmake_minimum_required(VERSION 3.13)
get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
if(NOT FOLDER OR NOT SERVICES)
  message(FATAL_ERROR "FOLDER, SERVICES: not set; see platform/tizen/README.md")
endif()
if(EXISTS ${FOLDER})
  message(FATAL_ERROR "${FOLDER}: already exists; choose a new folder")
endif()
if(NOT API_VERSION)
  set(API_VERSION 5.5)
endif()
if(NOT PROFILE)
  set(PROFILE tizen-${API_VERSION})
endif()

file(COPY ${root}/inc ${root}/src DESTINATION ${FOLDER})
file(COPY ${root}/platform/include ${CMAKE_CURRENT_LIST_DIR}/sdk DESTINATION ${FOLDER}/platform)
file(COPY ${CMAKE_CURRENT_LIST_DIR}/quorvel.png DESTINATION ${FOLDER}/shared/res)

set(DEFINITIONS "")
if(SERVICES_HEADER)
  set(DEFINITIONS "QUORVEL_TV_SERVICES_HEADER='<${SERVICES_HEADER}>'")
elseif(SERVICES_LINKAGE STREQUAL "CXX")
  set(DEFINITIONS QUORVEL_TV_SERVICES_CXX)
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/project_def.prop.in ${FOLDER}/project_def.prop @ONLY)

# The manifest of the package names a program in the folder bin of the TPK.
set(QUORVEL_TIZEN_EXEC quorvel)
set(QUORVEL_TIZEN_API_VERSION ${API_VERSION})
set(QUORVEL_TIZEN_PRIVILEGES ${PRIVILEGES})
file(STRINGS ${root}/CMakeLists.txt project REGEX "^project\\(quorvel VERSION |DESCRIPTION ")
string(REGEX REPLACE ".*VERSION ([0-9.]+).*" "\\1" PROJECT_VERSION "${project}")
string(REGEX REPLACE ".*DESCRIPTION \"([^\"]*)\".*" "\\1" PROJECT_DESCRIPTION "${project}")
set(QUORVEL_TIZEN_MANIFEST ${FOLDER}/tizen-manifest.xml)
include(${CMAKE_CURRENT_LIST_DIR}/manifest.cmake)
