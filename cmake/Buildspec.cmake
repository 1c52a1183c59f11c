# SPDX-License-Identifier: GPL-2.0-or-later
# The names that stand once, in buildspec.json, as CMake variables and as the header "buildspec.h".

foreach(key displayName dockId vendorHost windowsAppId)
    string(JSON value GET "${buildspec}" ${key})
    set(spec_${key} "${value}")
endforeach()

set(TARVOLINE_VENDOR_HOST "${spec_vendorHost}" CACHE STRING
    "Host of the vendor's HTTPS service (public address, updates)")

configure_file("${CMAKE_SOURCE_DIR}/cmake/buildspec.h.in" "${CMAKE_BINARY_DIR}/generated/buildspec.h" @ONLY)

# Link this to see "buildspec.h".
add_library(buildspec INTERFACE)
target_include_directories(buildspec INTERFACE "${CMAKE_BINARY_DIR}/generated")
