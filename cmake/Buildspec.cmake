# SPDX-License-Identifier: GPL-2.0-or-later
# The names that stand once, in buildspec.json, as CMake variables and as the header "buildspec.h".

foreach(key displayName description author license dockId vendorHost windowsAppId)
    string(JSON value GET "${buildspec}" ${key})
    set(spec_${key} "${value}")
endforeach()

set(TARVOLINE_VENDOR_HOST "${spec_vendorHost}" CACHE STRING
    "Host of the vendor's HTTPS service (public address, updates)")
# The plug-in compares it with host names as Qt gives them: in lower case. A whole top-level domain is no vendor.
if(NOT TARVOLINE_VENDOR_HOST MATCHES "^[a-z0-9]([a-z0-9-]*[a-z0-9])?(\\.[a-z0-9]([a-z0-9-]*[a-z0-9])?)+$")
    message(FATAL_ERROR "TARVOLINE_VENDOR_HOST must be a host name with its domain, in lower-case letters, "
        "without scheme, port or path. It is \"${TARVOLINE_VENDOR_HOST}\".")
endif()

# Addresses that packages show to users.
foreach(key website supportAddress updateAddress)
    string(JSON value GET "${buildspec}" ${key})
    string(REPLACE "{vendorHost}" "${TARVOLINE_VENDOR_HOST}" spec_${key} "${value}")
endforeach()

configure_file("${CMAKE_SOURCE_DIR}/cmake/buildspec.h.in" "${CMAKE_BINARY_DIR}/generated/buildspec.h" @ONLY)

# Link this to see "buildspec.h".
add_library(buildspec INTERFACE)
target_include_directories(buildspec INTERFACE "${CMAKE_BINARY_DIR}/generated")
