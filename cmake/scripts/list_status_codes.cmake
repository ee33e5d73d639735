# cmake -DHEADERS=<dir> -DTABLE=<nym_messages.txt> -DOUT=<file.h> -P list_status_codes.cmake
#
# Writes the status codes the exported headers define (every "NYM_S_<NAME> = 0x..." in them)
# and those the message table lists, as two C++ tables, so that a test can check that every
# code has its words.
cmake_minimum_required(VERSION 3.25)

function(append_entry var name value where)
  string(TOUPPER "${value}" value)
  string(REPLACE "0X" "0x" value "${value}")
  string(APPEND ${var} "    {\"${name}\", ${value}u, \"${where}\"},\n")
  set(${var} "${${var}}" PARENT_SCOPE)
endfunction()

set(header_codes "")
file(GLOB_RECURSE headers "${HEADERS}/*.h")
list(SORT headers)
foreach(header IN LISTS headers)
  file(RELATIVE_PATH header_name "${HEADERS}" "${header}")
  file(STRINGS "${header}" lines REGEX "NYM_S_[A-Z0-9_]+[ \t]*=[ \t]*0[xX][0-9A-Fa-f]+")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "(NYM_S_[A-Z0-9_]+)[ \t]*=[ \t]*(0[xX][0-9A-Fa-f]+)" found "${line}")
    append_entry(header_codes ${CMAKE_MATCH_1} ${CMAKE_MATCH_2} "nym/${header_name}")
  endforeach()
endforeach()

set(table_codes "")
file(STRINGS "${TABLE}" lines REGEX "^0[xX][0-9A-Fa-f]+[ \t]+NYM_S_")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^(0[xX][0-9A-Fa-f]+)[ \t]+(NYM_S_[A-Z0-9_]+)" found "${line}")
  get_filename_component(table_name "${TABLE}" NAME)
  append_entry(table_codes ${CMAKE_MATCH_2} ${CMAKE_MATCH_1} "${table_name}")
endforeach()

string(CONCAT text
  "// Generated at build time by cmake/scripts/list_status_codes.cmake; not to be edited.\n"
  "#ifndef NYM_TEST_STATUS_CODES_H\n#define NYM_TEST_STATUS_CODES_H\n\n"
  "namespace nym_test {\n\n"
  "struct Status_code {\n  const char* name;\n  unsigned int value;\n  const char* where;\n};\n\n"
  "// Every NYM_S_ constant of the exported headers.\n"
  "constexpr Status_code HEADER_CODES[] = {\n${header_codes}};\n\n"
  "// Every code of the library's message table.\n"
  "constexpr Status_code TABLE_CODES[] = {\n${table_codes}};\n\n"
  "}  // namespace nym_test\n\n#endif\n")
file(WRITE "${OUT}.new" "${text}")
file(COPY_FILE "${OUT}.new" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.new")
