# Installs the build into a scratch prefix, builds tests/install/consumer and the guide's
# recipes (examples/) against it with find_package(nym2208), and runs them all.
function(run_step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "step failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${NYM_WORK_DIR}/prefix)
set(consumer_build ${NYM_WORK_DIR}/consumer)
set(examples_build ${NYM_WORK_DIR}/examples)
file(REMOVE_RECURSE ${NYM_WORK_DIR})

run_step(${CMAKE_COMMAND} --install ${NYM_BUILD_DIR} --prefix ${prefix})
foreach(expected include/nym/nym.h lib/libnym2208.dll.a bin/nym2208.dll bin/nymres2208.dll bin/icuuc72.dll
                 bin/icudt72.dll lib/cmake/nym2208/nym2208Config.cmake lib/cmake/nym2208/NymMessageDll.cmake
                 include/xercesc/dom/DOM.hpp lib/libxerces-c.dll.a bin/libxerces-c.dll)
  if(NOT EXISTS ${prefix}/${expected})
    message(FATAL_ERROR "the installed package lacks ${expected}")
  endif()
endforeach()

# What a user ships: the installed DLLs beside the program (its own message files are there).
file(GLOB dlls ${prefix}/bin/*.dll)
foreach(project consumer examples)
  set(source ${NYM_CONSUMER_DIR})
  if(project STREQUAL "examples")
    set(source ${NYM_EXAMPLES_DIR})
  endif()
  run_step(${CMAKE_COMMAND} -S ${source} -B ${NYM_WORK_DIR}/${project} -G Ninja
    -DCMAKE_TOOLCHAIN_FILE=${NYM_TOOLCHAIN} -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_ROOT_PATH=${prefix}
    -DCMAKE_BUILD_TYPE=Release)
  run_step(${CMAKE_COMMAND} --build ${NYM_WORK_DIR}/${project} --parallel 2)
  file(COPY ${dlls} DESTINATION ${NYM_WORK_DIR}/${project})
endforeach()

run_step(${NYM_WINE_RUN} ${consumer_build}/consumer.exe)
if(NOT step_output MATCHES "consumer ok")
  message(FATAL_ERROR "consumer printed: ${step_output}")
endif()
message(STATUS "installed package builds and runs: ${step_output}")

# Each recipe checks its own results and exits with 1 on a wrong one.
file(GLOB recipes RELATIVE ${NYM_EXAMPLES_DIR} ${NYM_EXAMPLES_DIR}/*/main.cpp)
if(NOT recipes)
  message(FATAL_ERROR "no recipes under ${NYM_EXAMPLES_DIR}")
endif()
foreach(recipe IN LISTS recipes)
  get_filename_component(name ${recipe} DIRECTORY)
  run_step(${NYM_WINE_RUN} ${examples_build}/${name}.exe)
  if(NOT step_output MATCHES "recipe ok")
    message(FATAL_ERROR "recipe ${name} printed: ${step_output}")
  endif()
  message(STATUS "recipe ${name}: ok")
endforeach()
