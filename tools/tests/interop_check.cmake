# Encodes a configuration with srpolicy and reads the UPDATEs back with
# GoBGP's packet parser (an RFC 9830 receiver).
#   TOOL, GOBGP   the two binaries
#   CONFIG, OUT   the configuration and the raw UPDATEs written from it
#   PARSED        expression GoBGP's per-message lines must match
#   WARNED        expression srpolicy's standard error must match ("" for none)
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${TOOL} encode --out raw ${CONFIG} OUTPUT_FILE ${OUT} ERROR_VARIABLE _warn RESULT_VARIABLE _rc)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "srpolicy encode exited ${_rc}: ${_warn}")
endif()
if(WARNED STREQUAL "")
  if(NOT _warn STREQUAL "")
    message(FATAL_ERROR "unexpected warnings:\n${_warn}")
  endif()
elseif(NOT _warn MATCHES "${WARNED}")
  message(FATAL_ERROR "warnings do not match ${WARNED}:\n${_warn}")
endif()
execute_process(COMMAND ${GOBGP} check ${OUT} OUTPUT_VARIABLE _parsed ERROR_VARIABLE _err)
if(NOT _parsed MATCHES "${PARSED}")
  message(FATAL_ERROR "GoBGP's parser says:\n${_parsed}${_err}\nexpected: ${PARSED}")
endif()
