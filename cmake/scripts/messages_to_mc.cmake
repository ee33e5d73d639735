# cmake -DIN=<table> -DOUT=<file.mc> -P messages_to_mc.cmake
#
# Turns the one-line-per-code table of the library's status texts into a message compiler
# source. A line is "<value> <NYM_S_name> <text>"; the value's severity and the library's
# facility 0x200 become the .mc header of the entry. Texts end in %0, so that a message carries
# no line break of its own.
cmake_minimum_required(VERSION 3.25)
# Semicolons would split CMake's list of lines: they travel as a placeholder.
file(READ "${IN}" content)
string(REPLACE ";" "@NYM_SEMICOLON@" content "${content}")
string(REPLACE "\r" "" content "${content}")
string(REPLACE "\n" ";" lines "${content}")
string(CONCAT mc "MessageIdTypedef=DWORD\n"
       "SeverityNames=(Success=0x0 Informational=0x1 Warning=0x2 Error=0x3)\n"
       "FacilityNames=(Nym=0x200)\n"
       "LanguageNames=(English=0x409:MSG00409)\n\n")
set(severities Success Informational Warning Error)
set(seen "")
set(number 0)
foreach(line IN LISTS lines)
  math(EXPR number "${number} + 1")
  if(line MATCHES "^[ \t]*(#|$)")
    continue()
  endif()
  if(NOT line MATCHES "^(0[xX][0-9A-Fa-f]+)[ \t]+(NYM_S_[A-Z0-9_]+)[ \t]+([^ \t].*)$")
    message(FATAL_ERROR "${IN}:${number}: expected \"<value> NYM_S_<NAME> <text>\"")
  endif()
  set(value ${CMAKE_MATCH_1})
  set(name ${CMAKE_MATCH_2})
  set(text ${CMAKE_MATCH_3})
  math(EXPR severity "(${value} >> 30) & 3")
  math(EXPR facility "(${value} >> 16) & 0xFFF")
  math(EXPR id "${value} & 0xFFFF" OUTPUT_FORMAT HEXADECIMAL)
  math(EXPR rebuilt "(${severity} << 30) | (0x200 << 16) | ${id}")
  math(EXPR given "${value} & 0xFFFFFFFF")
  if(NOT rebuilt EQUAL given)
    message(FATAL_ERROR "${IN}:${number}: ${value} is not a code of the library's facility 0x200")
  endif()
  if(given IN_LIST seen)
    message(FATAL_ERROR "${IN}:${number}: ${value} is listed twice")
  endif()
  list(APPEND seen ${given})
  list(GET severities ${severity} severity_name)
  string(REPLACE "@NYM_SEMICOLON@" ";" text "${text}")
  # A line of "." alone would end the entry; the text always has words before it.
  string(APPEND mc "MessageId=${id} Severity=${severity_name} Facility=Nym SymbolicName=${name}\n"
                   "Language=English\n${text}%0\n.\n\n")
endforeach()
file(WRITE "${OUT}.new" "${mc}")
file(COPY_FILE "${OUT}.new" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.new")
