# Writes the man page of srpolicy from its own --help and --version, with the
# help of each subcommand as a section of its own, and compresses it.
#   cmake -DTOOL=srpolicy -DHELP2MAN=help2man -DOUT=srpolicy.1 -P manpage.cmake
set(_include "${OUT}.include")
file(WRITE ${_include} "")
foreach(_sub decode encode)
  execute_process(COMMAND ${TOOL} ${_sub} --help OUTPUT_VARIABLE _help RESULT_VARIABLE _rc)
  if(NOT _rc EQUAL 0)
    message(FATAL_ERROR "${TOOL} ${_sub} --help failed: ${_rc}")
  endif()
  # The usage line names the program as it was started: here, by its build path.
  string(REPLACE "${TOOL}" "srpolicy" _help "${_help}")
  string(TOUPPER ${_sub} _title)
  # Lines starting with a dot or a quote would read as roff requests.
  string(REGEX REPLACE "\n([.'])" "\n\\\\&\\1" _help "${_help}")
  file(APPEND ${_include} "[${_title}]\n.nf\n${_help}.fi\n\n")
endforeach()
file(APPEND ${_include} "[SEE ALSO]\nThe README in /usr/share/doc/srpolicy; sample inputs in /usr/share/srpolicy/samples.\n")
execute_process(COMMAND ${HELP2MAN} --no-info --section=1 --include=${_include}
                        "--name=decode and encode BGP SR Policy routes" --output=${OUT} ${TOOL}
                RESULT_VARIABLE _rc)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "help2man failed: ${_rc}")
endif()
execute_process(COMMAND gzip -9nf ${OUT} RESULT_VARIABLE _rc)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "gzip failed: ${_rc}")
endif()
