# SPDX-License-Identifier: GPL-2.0-or-later
# The static part of the C++ run-time, for all programs and modules built with toolchain.cmake.
add_library(cxxruntime STATIC "${CMAKE_CURRENT_LIST_DIR}/crt/runtime.cpp")
link_libraries(cxxruntime)
