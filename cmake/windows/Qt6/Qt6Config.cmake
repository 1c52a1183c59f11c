# SPDX-License-Identifier: GPL-2.0-or-later
# The Qt of OBS for Windows: OBS's DLLs with import libraries created from them, Debian's headers with the feature switches of
# these DLLs (tools/windows/qt-headers), and the host's moc. Replaces Qt's own CMake package, which OBS does not include.
set(sdk "${CMAKE_BINARY_DIR}/windows-sdk")
set(Qt6Core_VERSION_MAJOR 6) # read by AUTOMOC
set(Qt6Core_VERSION_MINOR 8)

if(NOT TARGET Qt6::moc)
    add_executable(Qt6::moc IMPORTED GLOBAL)
    set_target_properties(Qt6::moc PROPERTIES IMPORTED_LOCATION /usr/lib/qt6/libexec/moc)
endif()

set(dependencies_Core "")
set(dependencies_Network Core)
set(dependencies_Gui Core)
set(dependencies_Widgets Gui)

function(add_qt_module name)
    if(TARGET Qt6::${name})
        return()
    endif()
    add_library(Qt6::${name} SHARED IMPORTED GLOBAL)
    string(TOUPPER ${name} upperName)
    set_target_properties(Qt6::${name} PROPERTIES
        IMPORTED_IMPLIB "${sdk}/lib/Qt6${name}.lib"
        IMPORTED_LOCATION "${sdk}/bin/Qt6${name}.dll"
        INTERFACE_INCLUDE_DIRECTORIES "${sdk}/include/qt;${sdk}/include/qt/Qt${name}"
        INTERFACE_COMPILE_DEFINITIONS "QT_${upperName}_LIB")
    foreach(dependency IN LISTS dependencies_${name})
        add_qt_module(${dependency})
        set_property(TARGET Qt6::${name} APPEND PROPERTY INTERFACE_LINK_LIBRARIES Qt6::${dependency})
    endforeach()
endfunction()

foreach(component IN LISTS Qt6_FIND_COMPONENTS)
    if(TARGET Qt6::${component}) # QtTest is compiled in ../qtparts
        continue()
    endif()
    if(NOT DEFINED dependencies_${component} OR NOT EXISTS "${sdk}/lib/Qt6${component}.lib")
        set(Qt6_FOUND FALSE)
        set(Qt6_NOT_FOUND_MESSAGE "there is no Qt6${component}.lib in ${sdk}/lib")
        return()
    endif()
    add_qt_module(${component})
endforeach()
set_property(TARGET Qt6::Core APPEND PROPERTY INTERFACE_COMPILE_DEFINITIONS
    UNICODE _UNICODE WIN32 $<$<NOT:$<CONFIG:Debug>>:QT_NO_DEBUG>)

# The settings of Qt's function that the project uses.
macro(qt_standard_project_setup)
    set(CMAKE_AUTOMOC ON)
endmacro()
set(Qt6_FOUND TRUE)
