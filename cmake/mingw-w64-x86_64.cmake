# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (posix thread model,
# needed for std::thread and std::mutex in the tests).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
