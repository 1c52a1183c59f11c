# SPDX-License-Identifier: GPL-2.0-or-later
# 64-bit Windows programs with Microsoft's binary interface, that of OBS for Windows and its Qt, built with clang and lld.
#   C++ library       Microsoft's STL headers, msvcp140.dll
#   C and Windows     Wine's headers with additions in crt/include; the Universal CRT's DLLs
#   start-up code     mingw-w64's objects (entry point, constructors and destructors, atexit) with additions in crt/runtime.cpp
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(sdk "$ENV{TARVOLINE_WINDOWS_SDK}")
if(NOT EXISTS "${sdk}/lib")
    message(FATAL_ERROR "TARVOLINE_WINDOWS_SDK is not a folder with OBS's Windows libraries. Use ./dev --windows.")
endif()
# A link in the build folder, so that compiler and linker use the same relative path on every machine. CMake caches the flags of
# the first configuration, so an existing build folder gets another SDK only through the link.
get_property(tryCompile GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT tryCompile)
    file(CREATE_LINK "${sdk}" "${CMAKE_BINARY_DIR}/windows-sdk" SYMBOLIC)
    set(sdk "${CMAKE_BINARY_DIR}/windows-sdk")
    # The debug information contains the path of the linker; this relative path is the same on every machine.
    find_program(linker lld-link REQUIRED NO_CMAKE_FIND_ROOT_PATH)
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/linker")
    file(CREATE_LINK "${linker}" "${CMAKE_BINARY_DIR}/linker/lld-link" SYMBOLIC)
endif()

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-pc-windows-msvc19.44)
set(CMAKE_CXX_COMPILER_TARGET ${CMAKE_C_COMPILER_TARGET})
set(CMAKE_AR llvm-ar)
set(CMAKE_RC_COMPILER llvm-rc)
set(CMAKE_MT llvm-mt)
set(CMAKE_MSVC_RUNTIME_LIBRARY "") # the libraries are listed below

execute_process(COMMAND clang -print-resource-dir OUTPUT_VARIABLE clangResources OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
set(systemHeaders "")
set(wineHeaders /usr/include/wine/wine)
foreach(folder IN ITEMS "${CMAKE_CURRENT_LIST_DIR}/crt/include" "${clangResources}/include" "${sdk}/include/stl"
        "${sdk}/include/windows" ${wineHeaders}/msvcrt ${wineHeaders}/windows)
    string(APPEND systemHeaders " -isystem \"${folder}\"")
endforeach()
# Removes paths of the build machine from the module and its debug information; the last matching option applies.
set(pathOptions "-fdebug-compilation-dir=. -Xclang -gno-codeview-command-line")
foreach(map IN ITEMS /usr/include=system "${clangResources}=clang" "${CMAKE_SOURCE_DIR}=." "${CMAKE_BINARY_DIR}=build")
    string(APPEND pathOptions " \"-ffile-prefix-map=${map}\"")
endforeach()
# Qt 6.8 and OBS 31 require Windows 10. The STL's vector algorithms are in its static part only, which is not available.
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -fms-extensions -fms-compatibility ${pathOptions} ${systemHeaders} \
-include ucrtadditions.h -D_DLL -D_MT -D_UCRT -DWINE_UNICODE_NATIVE -D_USE_STD_VECTOR_ALGORITHMS=0 -D_WIN32_WINNT=0x0A00 -DWINVER=0x0A00")
set(CMAKE_C_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
set(CMAKE_RC_FLAGS_INIT "-I ${wineHeaders}/windows")

set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # programs need crt/runtime.cpp, which is built by the project

set(CMAKE_CXX_STANDARD_LIBRARIES "")
foreach(library IN ITEMS gcc msvcp140 msvcp140_1 vcruntime140 vcruntime140_1 mingw32 mingwex ucrt kernel32 user32 advapi32 shell32)
    string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -l${library}")
endforeach()
set(CMAKE_C_STANDARD_LIBRARIES "${CMAKE_CXX_STANDARD_LIBRARIES}")

# lld's MinGW mode (-lldmingw) is required by mingw-w64's objects. /nodefaultlib: the STL's headers and clang request libraries
# of Microsoft, which the list above replaces. The stack probe has different names in the two run-times (/alternatename).
# The paths are relative, because the debug information contains them.
set(linkFlags "-Xlinker /alternatename:__chkstk=___chkstk_ms -Xlinker -lldmingw -Xlinker /nodefaultlib \
-Blinker -Xlinker /libpath:windows-sdk/lib -Xlinker /pdbsourcepath:.")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linkFlags} -Xlinker /entry:mainCRTStartup windows-sdk/lib/crt2.o")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${linkFlags} -Xlinker /entry:DllMainCRTStartup windows-sdk/lib/dllcrt2.o")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${CMAKE_SHARED_LINKER_FLAGS_INIT}")

set(CMAKE_FIND_ROOT_PATH "${sdk}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
