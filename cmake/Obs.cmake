# SPDX-License-Identifier: GPL-2.0-or-later
# OBS::libobs and OBS::obs-frontend-api, and "obsheaders" with the declarations only, for tests that link a double.

find_package(libobs REQUIRED)
find_package(obs-frontend-api REQUIRED)

add_library(obsheaders INTERFACE)
target_include_directories(obsheaders SYSTEM INTERFACE
    $<TARGET_PROPERTY:OBS::libobs,INTERFACE_INCLUDE_DIRECTORIES>
    $<TARGET_PROPERTY:OBS::obs-frontend-api,INTERFACE_INCLUDE_DIRECTORIES>)
target_compile_definitions(obsheaders INTERFACE
    $<TARGET_PROPERTY:OBS::libobs,INTERFACE_COMPILE_DEFINITIONS>)
