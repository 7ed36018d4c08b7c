# Cross-compiles NightveilMode.exe for x64 Windows with MinGW-w64 (posix threads for std::async).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../tests/wine/wine-run.sh")

# Reproducible output: the same sources give the same bytes in any directory at
# any time. The source and build directories are rewritten to fixed names
# wherever the compiler records a path (__FILE__, std::source_location, debug
# info); the binary directory is named last because it may lie inside the source
# directory and GCC applies the last matching map. The linker writes 0 instead
# of the time into the PE header, which also makes its checksum stable; windres
# and ld already write 0 into the resource directory.
set(_nv_prefix_maps "\"-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.\" \"-ffile-prefix-map=${CMAKE_BINARY_DIR}=build\"")
set(CMAKE_C_FLAGS_INIT "${_nv_prefix_maps}")
set(CMAKE_CXX_FLAGS_INIT "${_nv_prefix_maps}")
foreach(_nv_kind EXE SHARED MODULE)
  set(CMAKE_${_nv_kind}_LINKER_FLAGS_INIT "-Wl,--no-insert-timestamp")
endforeach()
