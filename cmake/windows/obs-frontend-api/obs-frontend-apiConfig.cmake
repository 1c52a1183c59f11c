# SPDX-License-Identifier: GPL-2.0-or-later
# The front-end API of OBS 31.1 for Windows, with the headers of this release.
set(sdk "${CMAKE_BINARY_DIR}/windows-sdk")
if(NOT TARGET OBS::obs-frontend-api)
    add_library(OBS::obs-frontend-api SHARED IMPORTED GLOBAL)
    set_target_properties(OBS::obs-frontend-api PROPERTIES
        IMPORTED_IMPLIB "${sdk}/lib/obs-frontend-api.lib"
        IMPORTED_LOCATION "${sdk}/bin/obs-frontend-api.dll"
        INTERFACE_INCLUDE_DIRECTORIES "${sdk}/include/obs")
endif()
set(obs-frontend-api_FOUND TRUE)
