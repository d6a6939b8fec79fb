# Every capture `srpolicy encode --out-pcap` writes is dissected by tshark
# without a malformed packet or an expert error (apart from the dissector's
# own gaps for SAFI 73, listed below).
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

# Locally administered unicast Ethernet addresses at both ends.
string(REGEX MATCHALL "(Source|Destination): [0-9a-f][0-9a-f]:[0-9a-f:]+" _macs "${_out}")
if(NOT _macs)
  message(FATAL_ERROR "tshark shows no Ethernet address in ${OUT}")
endif()
foreach(_mac IN LISTS _macs)
  if(NOT _mac MATCHES ": 02:00:00:00:00:0[12]$")
    message(FATAL_ERROR "unexpected Ethernet address in ${OUT}: ${_mac}")
  endif()
endforeach()

# Gaps of the dissector itself: tshark releases that do not know SAFI 73 in
# MP_REACH_NLRI report its next hop as unknown, and some read the IPv6
# endpoint of an SR Policy NLRI as 4 bytes and stop the packet there. Those
# reports, and the malformed-packet mark that the second one causes in its
# own frame, are shown but not held against the capture; every other error
# (checksums, BGP framing, the attributes) fails the check.
set(_gaps "Unknown SAFI \\(73\\) for AFI [12]" "Unknown Next Hop length \\((4|16) bytes\\)")
set(_endpoint_gap "Trying to fetch an IPv6 address with length 4")
string(REPLACE ";" "," _out "${_out}")
string(REPLACE "\nFrame " ";Frame " _frames "${_out}")
set(_bad "")
set(_tolerated "")
foreach(_frame IN LISTS _frames)
  string(REGEX MATCH "^Frame [0-9]+" _name "${_frame}")
  string(REGEX MATCHALL "[^\n]*(Expert Info \\(Error|Malformed Packet)[^\n]*" _lines "${_frame}")
  set(_endpoint_hit FALSE)
  if(_frame MATCHES "${_endpoint_gap}")
    set(_endpoint_hit TRUE)
  endif()
  foreach(_line IN LISTS _lines)
    set(_known FALSE)
    foreach(_gap IN LISTS _gaps _endpoint_gap)
      if(_line MATCHES "${_gap}")
        set(_known TRUE)
      endif()
    endforeach()
    if(_endpoint_hit AND _line MATCHES "Malformed Packet")
      set(_known TRUE)
    endif()
    string(STRIP "${_line}" _line)
    if(_known)
      list(APPEND _tolerated "${_name}: ${_line}")
    else()
      list(APPEND _bad "${_name}: ${_line}")
    endif()
  endforeach()
endforeach()
if(_tolerated)
  list(REMOVE_DUPLICATES _tolerated)
  list(JOIN _tolerated "\n  " _text)
  message(STATUS "dissector gaps for SAFI 73, not counted:\n  ${_text}")
endif()
if(_bad)
  list(JOIN _bad "\n  " _text)
  message(FATAL_ERROR "tshark reports problems in ${OUT}:\n  ${_text}")
endif()
