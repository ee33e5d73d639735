# ICU (icuuc), Xerces-C, GoogleTest and Google Benchmark.
# Windows: all four come from the mingw prefix that scripts/deps.sh builds (NYM_DEPS_PREFIX).
# Host: Debian's -dev packages.

if(NYM_TARGET_WINDOWS)
  set(NYM_DEPS_PREFIX "" CACHE PATH "mingw prefix built by scripts/deps.sh")
  if(NOT NYM_DEPS_PREFIX OR NOT EXISTS "${NYM_DEPS_PREFIX}/include/unicode/uchar.h")
    message(FATAL_ERROR "NYM_DEPS_PREFIX ('${NYM_DEPS_PREFIX}') does not hold the mingw dependencies; "
                        "run scripts/deps.sh and pass -DNYM_DEPS_PREFIX=$(scripts/deps.sh --print-prefix)")
  endif()
  list(APPEND CMAKE_FIND_ROOT_PATH "${NYM_DEPS_PREFIX}")
  list(APPEND CMAKE_PREFIX_PATH "${NYM_DEPS_PREFIX}")

  function(nym_import_dll target implib dll)
    add_library(${target} SHARED IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES
      IMPORTED_IMPLIB "${NYM_DEPS_PREFIX}/lib/${implib}"
      IMPORTED_LOCATION "${NYM_DEPS_PREFIX}/bin/${dll}"
      INTERFACE_INCLUDE_DIRECTORIES "${NYM_DEPS_PREFIX}/include")
  endfunction()
  nym_import_dll(nym_dep_icudata libicudt.dll.a icudt72.dll)
  nym_import_dll(nym_dep_icuuc libicuuc.dll.a icuuc72.dll)
  set_property(TARGET nym_dep_icuuc PROPERTY INTERFACE_LINK_LIBRARIES nym_dep_icudata)
  file(GLOB _nym_xerces_dll "${NYM_DEPS_PREFIX}/bin/libxerces-c*.dll")
  file(GLOB _nym_xerces_implib "${NYM_DEPS_PREFIX}/lib/libxerces-c*.dll.a")
  if(_nym_xerces_dll AND _nym_xerces_implib)
    add_library(nym_dep_xerces SHARED IMPORTED GLOBAL)
    set_target_properties(nym_dep_xerces PROPERTIES
      IMPORTED_IMPLIB "${_nym_xerces_implib}" IMPORTED_LOCATION "${_nym_xerces_dll}"
      INTERFACE_INCLUDE_DIRECTORIES "${NYM_DEPS_PREFIX}/include")
  endif()
  # The DLLs a user ships beside nym2208.dll; copied beside the tests, installed into bin/.
  set(NYM_RUNTIME_DLLS "${NYM_DEPS_PREFIX}/bin/icuuc72.dll" "${NYM_DEPS_PREFIX}/bin/icudt72.dll" ${_nym_xerces_dll})
else()
  find_package(ICU REQUIRED COMPONENTS uc data)
  add_library(nym_dep_icuuc INTERFACE IMPORTED GLOBAL)
  set_property(TARGET nym_dep_icuuc PROPERTY INTERFACE_LINK_LIBRARIES ICU::uc ICU::data)
  find_package(XercesC QUIET)
  if(XercesC_FOUND)
    add_library(nym_dep_xerces INTERFACE IMPORTED GLOBAL)
    set_property(TARGET nym_dep_xerces PROPERTY INTERFACE_LINK_LIBRARIES XercesC::XercesC)
  endif()
  set(NYM_RUNTIME_DLLS "")
endif()

find_package(GTest CONFIG QUIET)
if(NOT GTest_FOUND)
  find_package(GTest REQUIRED)
endif()
find_package(Threads REQUIRED)
if(NYM_BUILD_BENCHMARKS)
  find_package(benchmark CONFIG QUIET)
endif()
