# The public header carries the version as macros for hosts that test it at
# compile time; they must say what project() says.
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/include/bol_srpolicy.h _bol_version_lines
  REGEX "^#define BOL_SRPOLICY_VERSION_(MAJOR|MINOR|PATCH|STRING) ")
set(_bol_header_version "")
foreach(_part MAJOR MINOR PATCH)
  string(REGEX MATCH "BOL_SRPOLICY_VERSION_${_part} ([0-9]+)" _match "${_bol_version_lines}")
  list(APPEND _bol_header_version "${CMAKE_MATCH_1}")
endforeach()
string(JOIN "." _bol_header_version ${_bol_header_version})
string(REGEX MATCH "BOL_SRPOLICY_VERSION_STRING \"([^\"]*)\"" _match "${_bol_version_lines}")
if(NOT _bol_header_version STREQUAL PROJECT_VERSION OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "include/bol_srpolicy.h says version ${_bol_header_version} (\"${CMAKE_MATCH_1}\"), "
    "CMakeLists.txt says ${PROJECT_VERSION}: change both")
endif()
