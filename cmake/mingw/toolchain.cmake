# SPDX-License-Identifier: GPL-2.0-or-later
# 64-bit Windows programs from MinGW-w64's GCC with POSIX threads; Qt's own toolchain file includes this one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(mingwTriplet x86_64-w64-mingw32)
if(NOT CMAKE_CXX_COMPILER) # a preset may name clang, which takes GCC's headers and libraries
    set(CMAKE_C_COMPILER ${mingwTriplet}-gcc-posix)
    set(CMAKE_CXX_COMPILER ${mingwTriplet}-g++-posix)
endif()
set(CMAKE_RC_COMPILER ${mingwTriplet}-windres)
set(CMAKE_DLLTOOL ${mingwTriplet}-dlltool)

set(CMAKE_FIND_ROOT_PATH /usr/${mingwTriplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# The oldest Windows that Qt 6.8 and OBS 31 run on.
add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00)
