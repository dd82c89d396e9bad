# Cross build for 64-bit Windows with Debian's mingw-w64 g++ 12. The posix thread model is the
# one whose C++ library has std::thread and std::mutex; with -static its winpthreads goes into
# the executables, which then need nothing beside them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# CTest runs the test programs under Wine. Debian's wine64 package puts its loader outside PATH.
# The tests start, wait for and stop Wine's server themselves, with the wineserver beside it.
find_program(KETRA_WINE64 NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
find_program(KETRA_WINESERVER NAMES wineserver PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(KETRA_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KETRA_WINE64})
endif()
