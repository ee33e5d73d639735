# Installs the build into a scratch prefix, builds tests/install/consumer against it with
# find_package(nym2208), and runs the result.
function(run_step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "step failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${NYM_WORK_DIR}/prefix)
set(consumer_build ${NYM_WORK_DIR}/consumer)
file(REMOVE_RECURSE ${NYM_WORK_DIR})

run_step(${CMAKE_COMMAND} --install ${NYM_BUILD_DIR} --prefix ${prefix})
foreach(expected include/nym/nym.h lib/libnym2208.dll.a bin/nym2208.dll bin/nymres2208.dll bin/icuuc72.dll
                 bin/icudt72.dll lib/cmake/nym2208/nym2208Config.cmake lib/cmake/nym2208/NymMessageDll.cmake
                 include/xercesc/dom/DOM.hpp lib/libxerces-c.dll.a bin/libxerces-c.dll)
  if(NOT EXISTS ${prefix}/${expected})
    message(FATAL_ERROR "the installed package lacks ${expected}")
  endif()
endforeach()

run_step(${CMAKE_COMMAND} -S ${NYM_CONSUMER_DIR} -B ${consumer_build} -G Ninja
  -DCMAKE_TOOLCHAIN_FILE=${NYM_TOOLCHAIN} -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_ROOT_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release)
run_step(${CMAKE_COMMAND} --build ${consumer_build})

# What a user ships: the installed DLLs beside the program (its own message file is there).
file(GLOB dlls ${prefix}/bin/*.dll)
file(COPY ${dlls} DESTINATION ${consumer_build})
run_step(${NYM_WINE_RUN} ${consumer_build}/consumer.exe)
if(NOT step_output MATCHES "consumer ok")
  message(FATAL_ERROR "consumer printed: ${step_output}")
endif()
message(STATUS "installed package builds and runs: ${step_output}")
