# SPDX-License-Identifier: GPL-2.0-or-later
# libobs of OBS 31.1 for Windows, with the headers of this release.
set(sdk "${CMAKE_BINARY_DIR}/windows-sdk")
if(NOT TARGET OBS::libobs)
    add_library(OBS::libobs SHARED IMPORTED GLOBAL)
    set_target_properties(OBS::libobs PROPERTIES
        IMPORTED_IMPLIB "${sdk}/lib/obs.lib"
        IMPORTED_LOCATION "${sdk}/bin/obs.dll"
        INTERFACE_INCLUDE_DIRECTORIES "${sdk}/include/obs")
endif()
set(libobs_FOUND TRUE)
