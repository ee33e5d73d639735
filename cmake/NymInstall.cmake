# `cmake --install` lays out include/nym, lib (import library), bin (nym2208.dll, nymres2208.dll
# and the dependency DLLs) and a CMake package: find_package(nym2208) gives nym2208::nym2208
# and nym_add_message_dll.
include(CMakePackageConfigHelpers)

install(TARGETS nym2208 EXPORT nym2208Targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY platform/nym/include/nym DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(NYM_RUNTIME_DLLS)
  install(FILES ${NYM_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
if(TARGET nym)
  install(TARGETS nym RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
# The words for the library's own codes, and the function that builds message files.
install(FILES $<TARGET_PROPERTY:nymres,NYM_MESSAGE_DLL_FILE> DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES cmake/NymMessageDll.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)

install(EXPORT nym2208Targets NAMESPACE nym2208:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)
configure_package_config_file(cmake/nym2208Config.cmake.in ${CMAKE_BINARY_DIR}/nym2208Config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/nym2208ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/nym2208Config.cmake ${CMAKE_BINARY_DIR}/nym2208ConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)

# ---- Xerces-C, for callers of Nym_status::to_xml and from_xml: its headers, import library and
# DLL (the DLL is among NYM_RUNTIME_DLLS), and the imported target nym2208::xerces.
if(TARGET nym_dep_xerces)
  get_target_property(_nym_xerces_implib nym_dep_xerces IMPORTED_IMPLIB)
  get_target_property(_nym_xerces_dll nym_dep_xerces IMPORTED_LOCATION)
  get_filename_component(NYM_XERCES_IMPLIB_NAME "${_nym_xerces_implib}" NAME)
  get_filename_component(NYM_XERCES_DLL_NAME "${_nym_xerces_dll}" NAME)
  install(DIRECTORY ${NYM_DEPS_PREFIX}/include/xercesc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(FILES ${_nym_xerces_implib} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  configure_file(cmake/nym2208Xerces.cmake.in ${CMAKE_BINARY_DIR}/nym2208Xerces.cmake @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/nym2208Xerces.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nym2208)
endif()
