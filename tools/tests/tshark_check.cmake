# Every capture `srpolicy encode --out-pcap` writes is dissected by tshark
# without a malformed packet or an expert error.
#   TOOL     the srpolicy binary
#   TSHARK   tshark
#   CONFIG   configuration to encode
#   OUT      capture file to write
#   WITHDRAW set to encode withdrawals
cmake_minimum_required(VERSION 3.25)

set(_withdraw "")
if(WITHDRAW)
  set(_withdraw --withdraw)
endif()
execute_process(COMMAND ${TOOL} encode ${CONFIG} ${_withdraw} --out-pcap ${OUT} RESULT_VARIABLE _rc ERROR_VARIABLE _err)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "srpolicy encode exited ${_rc}: ${_err}")
endif()
execute_process(COMMAND ${TSHARK} -n -r ${OUT} -V -o tcp.check_checksum:TRUE -o ip.check_checksum:TRUE
  RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "tshark exited ${_rc}: ${_err}")
endif()
if(NOT _out MATCHES "UPDATE Message")
  message(FATAL_ERROR "tshark found no BGP UPDATE in ${OUT}:\n${_out}")
endif()
if(_out MATCHES "Malformed" OR _out MATCHES "Expert Info \\(Error")
  string(REGEX MATCHALL "[^\n]*(Malformed|Expert Info \\(Error)[^\n]*" _lines "${_out}")
  message(FATAL_ERROR "tshark reports problems in ${OUT}:\n${_lines}")
endif()
