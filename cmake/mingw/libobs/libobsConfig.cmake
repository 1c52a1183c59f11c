# SPDX-License-Identifier: GPL-2.0-or-later
# libobs for the cross build: the headers of the OBS that the Linux build uses (TARVOLINE_OBS_HEADERS, from ./dev) and
# import libraries made here from the list of functions that the module calls. A call that is not on the list does not
# link, so the list and the module's imports stay one.
if(TARGET OBS::libobs)
    return()
endif()
set(obsHeaders "$ENV{TARVOLINE_OBS_HEADERS}")
if(NOT EXISTS "${obsHeaders}/obs/obs.h")
    set(libobs_FOUND FALSE)
    set(libobs_NOT_FOUND_MESSAGE "TARVOLINE_OBS_HEADERS names no folder with obs/obs.h")
    return()
endif()

function(add_obs_import_library target name)
    set(definition "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/${name}.def")
    set(library "${CMAKE_BINARY_DIR}/lib${name}.dll.a")
    set_property(DIRECTORY "${CMAKE_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${definition}")
    execute_process(COMMAND "${CMAKE_DLLTOOL}" -m i386:x86-64 -d "${definition}" -l "${library}" COMMAND_ERROR_IS_FATAL ANY)
    add_library(${target} SHARED IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES
        IMPORTED_IMPLIB "${library}"
        INTERFACE_INCLUDE_DIRECTORIES "${obsHeaders}/obs;${obsHeaders}")
endfunction()

add_obs_import_library(OBS::libobs obs)
add_obs_import_library(OBS::obs-frontend-api obs-frontend-api)
set(libobs_FOUND TRUE)
