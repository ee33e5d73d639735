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

  # The runtime DLLs are imported under the names the installed package gives them too
  # (nym2208Config.cmake), so the exported nym2208 target names them and a consumer's
  # $<TARGET_RUNTIME_DLLS> finds every one; nym_dep_* are the names the build uses.
  function(nym_import_dll target alias implib dll)
    add_library(${target} SHARED IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES
      IMPORTED_IMPLIB "${implib}"
      IMPORTED_LOCATION "${dll}"
      INTERFACE_INCLUDE_DIRECTORIES "${NYM_DEPS_PREFIX}/include")
    add_library(${alias} ALIAS ${target})
  endfunction()
  nym_import_dll(nym2208::icudt nym_dep_icudata "${NYM_DEPS_PREFIX}/lib/libicudt.dll.a" "${NYM_DEPS_PREFIX}/bin/icudt72.dll")
  nym_import_dll(nym2208::icuuc nym_dep_icuuc "${NYM_DEPS_PREFIX}/lib/libicuuc.dll.a" "${NYM_DEPS_PREFIX}/bin/icuuc72.dll")
  set_property(TARGET nym2208::icuuc PROPERTY INTERFACE_LINK_LIBRARIES nym2208::icudt)
  file(GLOB _nym_xerces_dll "${NYM_DEPS_PREFIX}/bin/libxerces-c*.dll")
  file(GLOB _nym_xerces_implib "${NYM_DEPS_PREFIX}/lib/libxerces-c*.dll.a")
  if(NOT _nym_xerces_dll OR NOT _nym_xerces_implib)
    message(FATAL_ERROR "NYM_DEPS_PREFIX ('${NYM_DEPS_PREFIX}') holds no Xerces-C DLL; run scripts/deps.sh")
  endif()
  nym_import_dll(nym2208::xerces nym_dep_xerces "${_nym_xerces_implib}" "${_nym_xerces_dll}")
  # ICU's full data, for products that want more of ICU than the library loads (see README);
  # icudt72.dll holds only what the library loads. An older prefix has no such file.
  set(NYM_ICU_FULL_DATA "${NYM_DEPS_PREFIX}/share/icu/72.1/icudt72l.dat")
  if(NOT EXISTS "${NYM_ICU_FULL_DATA}")
    message(FATAL_ERROR "NYM_DEPS_PREFIX ('${NYM_DEPS_PREFIX}') predates the slim ICU data; run scripts/deps.sh "
                        "and pass -DNYM_DEPS_PREFIX=$(scripts/deps.sh --print-prefix)")
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
