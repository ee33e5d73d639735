# cmake -DMODE=check|write -DGUIDE=<docs/GUIDE.md> -DTABLE=<nym_messages.txt> -DHEADERS=<include/nym>
#       -DEXAMPLES=<examples> -P guide.cmake
#
# Keeps the generated parts of the guide true: the table of status codes (from the message
# table, with the exported header that declares each code) between
#   <!-- status codes -->  and  <!-- end of status codes -->
# and each recipe's program between
#   <!-- recipe: NAME -->  and  <!-- end of recipe -->
# (each marker at the start of its line)
# from examples/NAME/main.cpp. Every recipe must be in the guide and under 60 lines. "write"
# rewrites the guide; "check" fails when it differs from what "write" would make.
cmake_minimum_required(VERSION 3.25)

if(NOT MODE MATCHES "^(check|write)$")
  message(FATAL_ERROR "guide.cmake: MODE must be check or write")
endif()
file(READ "${GUIDE}" original)

# The status codes, in the order of the message table.
set(declared_in "")
file(GLOB headers "${HEADERS}/*.h")
list(SORT headers)
foreach(header IN LISTS headers)
  get_filename_component(header_name "${header}" NAME)
  file(STRINGS "${header}" lines REGEX "NYM_S_[A-Z0-9_]+[ \t]*=[ \t]*0[xX][0-9A-Fa-f]+")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "(NYM_S_[A-Z0-9_]+)[ \t]*=" found "${line}")
    set(declared_in_${CMAKE_MATCH_1} "nym/${header_name}")
  endforeach()
endforeach()
set(codes "| Code | Name | Declared in | Meaning (%1... are the arguments) |\n|---|---|---|---|\n")
# Semicolons would split CMake's list of lines: they travel as a placeholder.
file(READ "${TABLE}" table)
string(REPLACE ";" "@NYM_SEMICOLON@" table "${table}")
string(REPLACE "\r" "" table "${table}")
string(REPLACE "\n" ";" lines "${table}")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^0[xX]([0-9A-Fa-f]+)[ \t]+(NYM_S_[A-Z0-9_]+)[ \t]+(.*)$")
    continue()
  endif()
  string(TOUPPER "${CMAKE_MATCH_1}" value)
  set(name "${CMAKE_MATCH_2}")
  string(REPLACE "|" "\\|" text "${CMAKE_MATCH_3}")
  string(REPLACE "@NYM_SEMICOLON@" ";" text "${text}")
  set(where "${declared_in_${name}}")
  if(where STREQUAL "")
    set(where "(none)")
  endif()
  string(APPEND codes "| 0x${value} | `${name}` | `${where}` | ${text} |\n")
endforeach()

# Replaces what stands between each opening marker and the closing marker after it; the
# opening marker's rest of line up to " -->" is the key handed to the producer.
function(fill_regions content opening closing producer out_var)
  set(result "")
  set(rest "${content}")
  while(TRUE)
    string(FIND "${rest}" "${opening}" at)
    if(at EQUAL -1)
      break()
    endif()
    string(LENGTH "${opening}" opening_length)
    string(SUBSTRING "${rest}" ${at} -1 from_marker)
    string(FIND "${from_marker}" "-->" key_end)
    math(EXPR key_length "${key_end} - ${opening_length}")
    string(SUBSTRING "${from_marker}" ${opening_length} ${key_length} key)
    string(STRIP "${key}" key)
    math(EXPR head_length "${at} + ${key_end} + 3")
    string(SUBSTRING "${rest}" 0 ${head_length} head)
    string(SUBSTRING "${rest}" ${head_length} -1 rest)
    string(FIND "${rest}" "${closing}" close_at)
    if(close_at EQUAL -1)
      message(FATAL_ERROR "${GUIDE}: \"${opening}${key}\" has no \"${closing}\"")
    endif()
    string(SUBSTRING "${rest}" ${close_at} -1 rest)
    cmake_language(CALL ${producer} "${key}" body)
    string(APPEND result "${head}\n${body}")
  endwhile()
  string(APPEND result "${rest}")
  set(${out_var} "${result}" PARENT_SCOPE)
endfunction()

function(produce_codes key out_var)
  string(REGEX REPLACE "\n$" "" table "${codes}")
  set(${out_var} "${table}" PARENT_SCOPE)
endfunction()

function(produce_recipe key out_var)
  set(file "${EXAMPLES}/${key}/main.cpp")
  if(NOT EXISTS "${file}")
    message(FATAL_ERROR "${GUIDE}: the recipe ${key} has no ${file}")
  endif()
  file(READ "${file}" program)
  string(REGEX MATCHALL "\n" newlines "${program}")
  list(LENGTH newlines count)
  if(count GREATER_EQUAL 60)
    message(FATAL_ERROR "${file}: ${count} lines; a recipe stays under 60")
  endif()
  set(${out_var} "```cpp\n${program}```" PARENT_SCOPE)
endfunction()

# Markers count only at the start of a line, so that the guide may name them in its text.
fill_regions("${original}" "\n<!-- status codes" "\n<!-- end of status codes -->" produce_codes guide)
fill_regions("${guide}" "\n<!-- recipe:" "\n<!-- end of recipe -->" produce_recipe guide)

file(GLOB programs RELATIVE "${EXAMPLES}" "${EXAMPLES}/*/main.cpp")
foreach(program IN LISTS programs)
  get_filename_component(name "${program}" DIRECTORY)
  string(FIND "${guide}" "<!-- recipe: ${name} -->" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${GUIDE}: the recipe examples/${name} is not in the guide")
  endif()
endforeach()

if(guide STREQUAL original)
  return()
endif()
if(MODE STREQUAL "write")
  file(WRITE "${GUIDE}" "${guide}")
  message(STATUS "rewrote ${GUIDE}")
else()
  message(FATAL_ERROR "${GUIDE} is out of date with its recipes or the message table: "
                      "cmake --build <build dir> --target nym_guide rewrites it")
endif()
