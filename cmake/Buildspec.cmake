# SPDX-License-Identifier: GPL-2.0-or-later
# The names in buildspec.json as CMake variables and as the header "buildspec.h".

foreach(key displayName description author license dockId vendorHost windowsAppId)
    string(JSON value GET "${buildspec}" ${key})
    set(spec_${key} "${value}")
endforeach()

set(TARVOLINE_VENDOR_HOST "${spec_vendorHost}" CACHE STRING
    "Host of the vendor's HTTPS service (public address, updates)")
# In lower case, because it is compared with host names from QUrl, which are in lower case; with at least one dot.
if(NOT TARVOLINE_VENDOR_HOST MATCHES "^[a-z0-9]([a-z0-9-]*[a-z0-9])?(\\.[a-z0-9]([a-z0-9-]*[a-z0-9])?)+$")
    message(FATAL_ERROR "TARVOLINE_VENDOR_HOST must be a host name with its domain, in lower-case letters, "
        "without scheme, port or path. It is \"${TARVOLINE_VENDOR_HOST}\".")
endif()

# Addresses shown by packages.
foreach(key website supportAddress updateAddress)
    string(JSON value GET "${buildspec}" ${key})
    string(REPLACE "{vendorHost}" "${TARVOLINE_VENDOR_HOST}" spec_${key} "${value}")
endforeach()

configure_file("${CMAKE_SOURCE_DIR}/cmake/buildspec.h.in" "${CMAKE_BINARY_DIR}/generated/buildspec.h" @ONLY)

# Targets that include "buildspec.h" link this library.
add_library(buildspec INTERFACE)
target_include_directories(buildspec INTERFACE "${CMAKE_BINARY_DIR}/generated")
