# `cmake --install` lays out what a product ships and builds against:
#   bin/      nym2208.dll and nym.exe, stripped, each with <file>.debug beside it;
#             nymres2208.dll (the words for the library's own codes); ICU's and Xerces' DLLs
#   include/  nym/ (umbrella header nym/nym.h)
#   lib/      libnym2208.dll.a; cmake/nym2208/: the CMake package (find_package(nym2208) gives
#             nym2208::nym2208 and its runtime DLLs, and nym_add_message_dll) and the mingw
#             toolchain file
# The `package` target zips the same tree as nym2208-<version>-win64.zip.
include(CMakePackageConfigHelpers)

set(NYM_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)

# nym_install_binary(<target> [EXPORT <set>]) installs a DLL or program target into bin/;
# nym_install_binary(FILE <path>) installs a DLL made otherwise (a custom target's output;
# generator expressions allowed). Either is stripped where installed, its debug information
# split into <file>.debug beside it (the build tree keeps the full file). Every binary the
# package ships goes through here.
function(nym_install_binary)
  cmake_parse_arguments(ARG "" "EXPORT;FILE" "" ${ARGN})
  if(ARG_FILE)
    install(FILES ${ARG_FILE} DESTINATION ${CMAKE_INSTALL_BINDIR})
    set(built "${ARG_FILE}")
    set(name "$<PATH:GET_FILENAME,${ARG_FILE}>")
  else()
    set(target ${ARG_UNPARSED_ARGUMENTS})
    set(export)
    if(ARG_EXPORT)
      set(export EXPORT ${ARG_EXPORT})
    endif()
    install(TARGETS ${target} ${export}
      RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
      LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR}
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    set(built "$<TARGET_FILE:${target}>")
    set(name "$<TARGET_FILE_NAME:${target}>")
  endif()
  install(CODE "
    set(NYM_OBJCOPY \"${CMAKE_OBJCOPY}\")
    set(NYM_OBJDUMP \"${CMAKE_OBJDUMP}\")
    set(NYM_BUILT_FILE \"${built}\")
    set(NYM_INSTALLED_FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${name}\")
    include(\"${PROJECT_SOURCE_DIR}/cmake/NymSplitDebug.cmake\")")
endfunction()

nym_install_binary(nym2208 EXPORT nym2208Targets)
if(TARGET nym)
  nym_install_binary(nym)
endif()
# The words for the library's own codes (resource-only: nothing to split).
nym_install_binary(FILE $<TARGET_PROPERTY:nymres,NYM_MESSAGE_DLL_FILE>)
install(DIRECTORY platform/nym/include/nym DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${NYM_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})

# The package names the runtime DLLs by file name; nym2208Config.cmake imports them.
foreach(dll IN LISTS NYM_RUNTIME_DLLS)
  get_filename_component(name "${dll}" NAME)
  if(name MATCHES "^icudt")
    set(NYM_ICUDT_DLL ${name})
  elseif(name MATCHES "^icuuc")
    set(NYM_ICUUC_DLL ${name})
  elseif(name MATCHES "xerces")
    set(NYM_XERCES_DLL ${name})
  endif()
endforeach()
# Xerces-C for callers of Nym_status::to_xml and from_xml: its headers and import library (the
# DLL is among the runtime DLLs); the package gives them to nym2208::xerces.
get_target_property(_nym_xerces_implib nym_dep_xerces IMPORTED_IMPLIB)
get_filename_component(NYM_XERCES_IMPLIB "${_nym_xerces_implib}" NAME)
install(DIRECTORY ${NYM_DEPS_PREFIX}/include/xercesc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${_nym_xerces_implib} DESTINATION ${CMAKE_INSTALL_LIBDIR})

# nym2208.dll loads its message file by name, so no import names it: the package does.
get_target_property(NYM_MESSAGE_DLL nymres NYM_MESSAGE_DLL_FILE)
get_filename_component(NYM_MESSAGE_DLL "${NYM_MESSAGE_DLL}" NAME)

install(EXPORT nym2208Targets NAMESPACE nym2208:: DESTINATION ${NYM_PACKAGE_DIR})
configure_package_config_file(cmake/nym2208Config.cmake.in ${CMAKE_BINARY_DIR}/nym2208Config.cmake
  INSTALL_DESTINATION ${NYM_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/nym2208ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/nym2208Config.cmake ${CMAKE_BINARY_DIR}/nym2208ConfigVersion.cmake
  cmake/toolchain-mingw-w64.cmake cmake/NymMessageDll.cmake
  DESTINATION ${NYM_PACKAGE_DIR})

# One archive, named from the project version (which the DLL's version resource shows too).
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME nym2208)
set(CPACK_PACKAGE_VENDOR nym2208)
set(CPACK_PACKAGE_FILE_NAME nym2208-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
include(CPack)
