# SPDX-License-Identifier: GPL-2.0-or-later
# The folders below the install prefix where OBS searches plug-ins. Two components:
#   system   beside OBS's own plug-ins (prefix: /usr, or the folder of a portable OBS for Windows)
#   user     in the user's plug-in folder (prefix: ~/.config/obs-studio/plugins, %ProgramData%\obs-studio\plugins)
# `cmake --install` without --component installs "system" only.

# OBS searches plug-ins below its own prefix only, which is not CMake's default.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT AND NOT WIN32)
    set(CMAKE_INSTALL_PREFIX /usr CACHE PATH "Prefix of the OBS that the plug-in is installed for" FORCE)
endif()
include(GNUInstallDirs)

if(WIN32)
    set(systemModuleFolder "obs-plugins/64bit")
    set(systemDataFolder "data/obs-plugins/${PROJECT_NAME}")
else()
    set(systemModuleFolder "${CMAKE_INSTALL_LIBDIR}/obs-plugins")
    set(systemDataFolder "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/${PROJECT_NAME}")
endif()
set(userModuleFolder "${PROJECT_NAME}/bin/64bit")
set(userDataFolder "${PROJECT_NAME}/data")
