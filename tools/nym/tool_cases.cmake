# Runs the `nym` tool on each case of a table and checks its exit code and what it prints.
#   cmake -DNYM=<nym.exe> -DEMULATOR=<runner or empty> -DCASES=<table> -DSAMPLES=<dir> -DWORK=<dir>
#         -DHELPER=<nym_test_helper.exe> -P tool_cases.cmake
# A case is one line: the exit code, a regular expression that stdout and stderr together must
# match, and the arguments (words as a shell splits them; @SAMPLES@ and @WORK@ name the sample
# and scratch folders, @HELPER@ the tests' helper program), separated by " | ". Cases run in order, so one may read what an earlier
# one wrote. Lines starting with # are comments.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
file(STRINGS "${CASES}" lines ENCODING UTF-8)
set(failures 0)
set(count 0)
foreach(line IN LISTS lines)
  if(line MATCHES "^#" OR line STREQUAL "")
    continue()
  endif()
  if(NOT line MATCHES "^([0-9]+) \\| (.*) \\|(.*)$")
    message(FATAL_ERROR "not a case: ${line}")
  endif()
  set(want_exit ${CMAKE_MATCH_1})
  set(want_output "${CMAKE_MATCH_2}")
  string(STRIP "${CMAKE_MATCH_3}" words)
  string(REPLACE "@SAMPLES@" "${SAMPLES}" words "${words}")
  string(REPLACE "@WORK@" "${WORK}" words "${words}")
  string(REPLACE "@HELPER@" "${HELPER}" words "${words}")
  separate_arguments(words UNIX_COMMAND "${words}")
  execute_process(COMMAND ${EMULATOR} ${NYM} ${words} RESULT_VARIABLE got_exit OUTPUT_VARIABLE out
                  ERROR_VARIABLE out TIMEOUT 60)
  math(EXPR count "${count} + 1")
  if(NOT got_exit STREQUAL want_exit OR NOT out MATCHES "${want_output}")
    math(EXPR failures "${failures} + 1")
    message("FAILED: nym ${words}\n  exit ${got_exit}, want ${want_exit}; output must match: ${want_output}\n${out}")
  endif()
endforeach()
if(failures GREATER 0)
  message(FATAL_ERROR "${failures} of ${count} cases failed")
endif()
message("${count} cases passed")
