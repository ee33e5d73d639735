# nym_add_message_dll(<target> <file.mc> [OUTPUT_NAME <name>] [OUTPUT_DIRECTORY <dir>])
#
# Builds a resource-only message-table DLL from a message compiler source (.mc) with the
# mingw-w64 toolchain's windmc and windres and a link without any code or entry point, as
# FormatMessageW and nym2208's Nym_messages read them. <target> is a custom target (part of
# ALL) that other targets can depend on; the DLL is <OUTPUT_NAME>.dll (default: the .mc's
# name) in OUTPUT_DIRECTORY (default: CMAKE_RUNTIME_OUTPUT_DIRECTORY, else the current binary
# directory). Its path is the target's property NYM_MESSAGE_DLL_FILE, for install(FILES ...).
#
# A family "vorn" of nym2208's lookup is the file vornres2208.dll:
#   nym_add_message_dll(vorn_messages vorn.mc OUTPUT_NAME vornres2208)
#   install(FILES $<TARGET_PROPERTY:vorn_messages,NYM_MESSAGE_DLL_FILE> DESTINATION bin)
#
# Installed with the nym2208 package; find_package(nym2208) makes it available.

# The tools come from the toolchain: CMAKE_MC_COMPILER and CMAKE_RC_COMPILER when it names
# them, else the compiler's own triple (x86_64-w64-mingw32-) in front of windmc and windres.
# The result is cached in <var>.
function(_nym_message_tool var tool hint)
  if(${var})
    return()
  endif()
  set(names ${tool})
  foreach(compiler IN ITEMS "${CMAKE_C_COMPILER}" "${CMAKE_CXX_COMPILER}")
    get_filename_component(compiler_name "${compiler}" NAME)
    if(compiler_name MATCHES "^(.*-)(gcc|g\\+\\+|c\\+\\+|clang|clang\\+\\+)(-[^-]*)?$")
      list(PREPEND names "${CMAKE_MATCH_1}${tool}")
    endif()
  endforeach()
  if(hint MATCHES "${tool}")
    list(PREPEND names "${hint}")
  endif()
  find_program(${var} NAMES ${names})
  if(NOT ${var})
    message(FATAL_ERROR "nym_add_message_dll: ${tool} not found (looked for: ${names})")
  endif()
endfunction()

function(nym_add_message_dll target mc_file)
  cmake_parse_arguments(ARG "" "OUTPUT_NAME;OUTPUT_DIRECTORY" "" ${ARGN})
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "nym_add_message_dll: unexpected arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  get_filename_component(mc "${mc_file}" ABSOLUTE)
  get_filename_component(base "${mc}" NAME_WE)
  if(NOT ARG_OUTPUT_NAME)
    set(ARG_OUTPUT_NAME "${base}")
  endif()
  if(NOT ARG_OUTPUT_DIRECTORY)
    if(CMAKE_RUNTIME_OUTPUT_DIRECTORY)
      set(ARG_OUTPUT_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    else()
      set(ARG_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
    endif()
  endif()

  _nym_message_tool(NYM_WINDMC windmc "${CMAKE_MC_COMPILER}")
  _nym_message_tool(NYM_WINDRES windres "${CMAKE_RC_COMPILER}")
  # Any enabled compiler driver links; no library and no start-up code go in.
  if(CMAKE_C_COMPILER)
    set(driver "${CMAKE_C_COMPILER}")
  else()
    set(driver "${CMAKE_CXX_COMPILER}")
  endif()

  set(work "${CMAKE_CURRENT_BINARY_DIR}/${target}.msg")
  set(dll "${ARG_OUTPUT_DIRECTORY}/${ARG_OUTPUT_NAME}.dll")
  # -U: the table holds UTF-16 texts, which FormatMessageW hands out unchanged.
  add_custom_command(OUTPUT "${work}/${base}.rc"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${work}"
    COMMAND "${NYM_WINDMC}" -U -h "${work}" -r "${work}" "${mc}"
    DEPENDS "${mc}"
    COMMENT "Compiling messages ${base}.mc"
    VERBATIM)
  add_custom_command(OUTPUT "${work}/${base}.res.o"
    COMMAND "${NYM_WINDRES}" -O coff -I "${work}" -i "${work}/${base}.rc" -o "${work}/${base}.res.o"
    DEPENDS "${work}/${base}.rc"
    VERBATIM)
  # Entry point 0: the loader calls nothing in a file that holds only resources.
  add_custom_command(OUTPUT "${dll}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${ARG_OUTPUT_DIRECTORY}"
    COMMAND "${driver}" -shared -nostdlib -Wl,-e,0 -s -o "${dll}" "${work}/${base}.res.o"
    DEPENDS "${work}/${base}.res.o"
    COMMENT "Linking message file ${ARG_OUTPUT_NAME}.dll"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${dll}")
  set_target_properties(${target} PROPERTIES NYM_MESSAGE_DLL_FILE "${dll}")
endfunction()
