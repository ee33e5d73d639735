# Install-time step for one binary (set up by nym_install_binary): writes the debug information of
# the built file NYM_BUILT_FILE to NYM_INSTALLED_FILE.debug and replaces NYM_INSTALLED_FILE with
# a stripped copy whose debug link names that file, so a debugger reading a crash dump finds it
# beside the binary. Reading the built file, not the installed one, keeps a repeated install
# from splitting an already stripped copy. objcopy stamps a PE header with the time it runs
# unless SOURCE_DATE_EPOCH says otherwise: the built file's time keeps every install of one
# build (and the archive) byte for byte the same.
set(_nym_debug_file "${NYM_INSTALLED_FILE}.debug")
file(TIMESTAMP "${NYM_BUILT_FILE}" _nym_epoch "%s" UTC)
# A file linked without debug information (a resource-only DLL, say) is installed as it is.
execute_process(COMMAND "${NYM_OBJDUMP}" -h "${NYM_BUILT_FILE}" OUTPUT_VARIABLE _nym_sections
  RESULT_VARIABLE _nym_result)
if(NOT _nym_result EQUAL 0)
  message(FATAL_ERROR "objdump cannot read ${NYM_BUILT_FILE}")
endif()
if(NOT _nym_sections MATCHES "\\.debug_")
  return()
endif()
message(STATUS "Stripping: ${NYM_INSTALLED_FILE} (debug information: ${_nym_debug_file})")
foreach(_nym_step
    "--only-keep-debug;${NYM_BUILT_FILE};${_nym_debug_file}"
    "--strip-all;--add-gnu-debuglink=${_nym_debug_file};${NYM_BUILT_FILE};${NYM_INSTALLED_FILE}")
  execute_process(COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=${_nym_epoch} "${NYM_OBJCOPY}" ${_nym_step} RESULT_VARIABLE _nym_result ERROR_VARIABLE _nym_error)
  if(NOT _nym_result EQUAL 0)
    message(FATAL_ERROR "objcopy ${_nym_step} failed (${_nym_result}): ${_nym_error}")
  endif()
endforeach()
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${_nym_debug_file}")
