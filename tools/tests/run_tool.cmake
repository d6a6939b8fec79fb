# Runs the srpolicy binary once (or two runs joined by a pipe) and checks
# its exit status and output. Lists use "@@" between items, so that regular
# expressions and arguments keep their semicolons and colons.
#   TOOL          the binary
#   ARGS          arguments of the first run
#   PIPE_ARGS     arguments of a second run reading the first run's output
#   STDIN         file given as standard input of the first run
#   MKFIFO        a named pipe made (if missing) before the run
#   EXPECT_RC     expected exit status of the last run (default 0)
#   STDOUT_FILE   file the standard output must equal
#   STDOUT_REGEX  expressions the standard output must match
#   STDOUT_NOT    expressions the standard output must not match
#   STDERR_REGEX  expressions the standard error must match
#   STDERR_NOT    expressions the standard error must not match
cmake_minimum_required(VERSION 3.25)

function(split_list VAR)
  string(REPLACE "@@" ";" _items "${${VAR}}")
  set(${VAR} "${_items}" PARENT_SCOPE)
endfunction()

split_list(ARGS)
split_list(PIPE_ARGS)
split_list(STDOUT_REGEX)
split_list(STDOUT_NOT)
split_list(STDERR_REGEX)
split_list(STDERR_NOT)
if(NOT DEFINED EXPECT_RC)
  set(EXPECT_RC 0)
endif()

if(MKFIFO AND NOT EXISTS ${MKFIFO})
  execute_process(COMMAND mkfifo ${MKFIFO})
endif()
set(_input "")
if(STDIN)
  set(_input INPUT_FILE ${STDIN})
endif()
if(PIPE_ARGS)
  execute_process(COMMAND ${TOOL} ${ARGS} COMMAND ${TOOL} ${PIPE_ARGS} ${_input}
    OUTPUT_VARIABLE _out ERROR_VARIABLE _err RESULTS_VARIABLE _rcs)
else()
  execute_process(COMMAND ${TOOL} ${ARGS} ${_input}
    OUTPUT_VARIABLE _out ERROR_VARIABLE _err RESULTS_VARIABLE _rcs)
endif()

list(POP_BACK _rcs _rc)
set(_fail "")
foreach(_first IN LISTS _rcs)
  if(NOT _first EQUAL 0)
    string(APPEND _fail "first run of the pipe exited ${_first}\n")
  endif()
endforeach()
if(NOT "${_rc}" STREQUAL "${EXPECT_RC}")
  string(APPEND _fail "exit status ${_rc}, expected ${EXPECT_RC}\n")
endif()
if(STDOUT_FILE)
  file(READ ${STDOUT_FILE} _want)
  if(NOT _out STREQUAL _want)
    string(APPEND _fail "standard output differs from ${STDOUT_FILE}\n")
  endif()
endif()
foreach(_re IN LISTS STDOUT_REGEX)
  if(NOT _out MATCHES "${_re}")
    string(APPEND _fail "standard output does not match: ${_re}\n")
  endif()
endforeach()
foreach(_re IN LISTS STDOUT_NOT)
  if(_out MATCHES "${_re}")
    string(APPEND _fail "standard output matches: ${_re}\n")
  endif()
endforeach()
foreach(_re IN LISTS STDERR_REGEX)
  if(NOT _err MATCHES "${_re}")
    string(APPEND _fail "standard error does not match: ${_re}\n")
  endif()
endforeach()
foreach(_re IN LISTS STDERR_NOT)
  if(_err MATCHES "${_re}")
    string(APPEND _fail "standard error matches: ${_re}\n")
  endif()
endforeach()
if(_fail)
  message(FATAL_ERROR "${_fail}--- stdout:\n${_out}--- stderr:\n${_err}")
endif()
