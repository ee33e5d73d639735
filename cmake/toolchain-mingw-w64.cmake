# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (GCC, posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(NYM_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${NYM_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${NYM_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${NYM_MINGW_TRIPLE}-windres)
set(CMAKE_MC_COMPILER ${NYM_MINGW_TRIPLE}-windmc)

# Appended, so that a -DCMAKE_FIND_ROOT_PATH=<installed nym2208> from the user is kept.
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${NYM_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Ship nym2208.dll plus ICU/Xerces only: the GCC runtime and winpthread go in statically.
# --exclude-libs keeps the static runtime's symbols out of a DLL's export table.
set(NYM_STATIC_RUNTIME "-static-libgcc -static-libstdc++ -Wl,-Bstatic,--whole-archive -lwinpthread -Wl,--no-whole-archive,-Bdynamic -Wl,--exclude-libs,ALL")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${NYM_STATIC_RUNTIME}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${NYM_STATIC_RUNTIME}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${NYM_STATIC_RUNTIME}")
set(CMAKE_CXX_FLAGS_INIT "-D__USE_MINGW_ANSI_STDIO=1")

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/nym2208Config.cmake)
  # Installed with the package (<prefix>/lib/cmake/nym2208): find_package(nym2208) finds it.
  get_filename_component(_nym_package_prefix ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
  list(APPEND CMAKE_FIND_ROOT_PATH ${_nym_package_prefix})
elseif(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run.sh)
  # In the source tree: tests and tools run under Wine through a wrapper that owns the
  # private prefix.
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run.sh)
endif()
