# `cmake --build <dir> --target docs`: the HTML reference of the public
# headers, where doxygen is installed. Undocumented entry points, records and
# fields are listed in docs/warnings.log.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "doxygen not found: no docs target")
  return()
endif()
set(DOXYGEN_PROJECT_NAME libbol_srpolicy)
set(DOXYGEN_PROJECT_NUMBER ${PROJECT_VERSION})
set(DOXYGEN_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/docs)
set(DOXYGEN_OPTIMIZE_OUTPUT_FOR_C YES)
set(DOXYGEN_EXTRACT_ALL NO)
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_NO_PARAMDOC YES)
set(DOXYGEN_WARN_LOGFILE ${CMAKE_CURRENT_BINARY_DIR}/docs/warnings.log)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_ENABLE_PREPROCESSING YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED "BOL_SRPOLICY_API=" "BOL_PRINTF_LIKE(fmt,args)=")
set(DOXYGEN_QUIET YES)
doxygen_add_docs(docs include/bol_srpolicy.h platform/bol_platform.h
  WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
  COMMENT "HTML reference of the public headers in ${CMAKE_CURRENT_BINARY_DIR}/docs/html")
