# SPDX-License-Identifier: GPL-2.0-or-later
# 64-bit Windows programs in Microsoft's binary interface, with clang and lld: what users' OBS and its Qt are built with.
#   C++ library       Microsoft's STL headers, msvcp140.dll
#   C and Windows     Wine's headers, with what they lack in crt/include; the Universal CRT's DLLs
#   start-up code     mingw-w64's objects (entry point, constructors and destructors, atexit), completed by crt/runtime.cpp
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(sdk "$ENV{TARVOLINE_WINDOWS_SDK}")
if(NOT EXISTS "${sdk}/lib")
    message(FATAL_ERROR "TARVOLINE_WINDOWS_SDK names no folder with OBS's Windows libraries: call ./dev --windows.")
endif()
# Below the build folder, where the compiler and the linker find it by one relative path on every machine. CMake keeps the flags
# from its first run, so another SDK also takes effect in an older build folder.
get_property(tryCompile GLOBAL PROPERTY IN_TRY_COMPILE)
if(NOT tryCompile)
    file(CREATE_LINK "${sdk}" "${CMAKE_BINARY_DIR}/windows-sdk" SYMBOLIC)
    set(sdk "${CMAKE_BINARY_DIR}/windows-sdk")
    # The debug information names the linker as it is called: by this relative path, wherever it is installed.
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
set(CMAKE_MSVC_RUNTIME_LIBRARY "") # the libraries are named below

execute_process(COMMAND clang -print-resource-dir OUTPUT_VARIABLE clangResources OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
set(systemHeaders "")
set(wineHeaders /usr/include/wine/wine)
foreach(folder IN ITEMS "${CMAKE_CURRENT_LIST_DIR}/crt/include" "${clangResources}/include" "${sdk}/include/stl"
        "${sdk}/include/windows" ${wineHeaders}/msvcrt ${wineHeaders}/windows)
    string(APPEND systemHeaders " -isystem \"${folder}\"")
endforeach()
# No folder of the build machine in the module or its debug information; of several that fit, the last one counts.
set(withoutPlace "-fdebug-compilation-dir=. -Xclang -gno-codeview-command-line")
foreach(map IN ITEMS /usr/include=system "${clangResources}=clang" "${CMAKE_SOURCE_DIR}=." "${CMAKE_BINARY_DIR}=build")
    string(APPEND withoutPlace " \"-ffile-prefix-map=${map}\"")
endforeach()
# The oldest Windows that Qt 6.8 and OBS 31 run on is 10. The STL's vector algorithms are in its static part alone.
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -fms-extensions -fms-compatibility ${withoutPlace} ${systemHeaders} \
-include ucrtadditions.h -D_DLL -D_MT -D_UCRT -DWINE_UNICODE_NATIVE -D_USE_STD_VECTOR_ALGORITHMS=0 -D_WIN32_WINNT=0x0A00 -DWINVER=0x0A00")
set(CMAKE_C_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
set(CMAKE_RC_FLAGS_INIT "-I ${wineHeaders}/windows")

set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # crt/runtime.cpp, which programs need, is built by the project

set(CMAKE_CXX_STANDARD_LIBRARIES "")
foreach(library IN ITEMS gcc msvcp140 msvcp140_1 vcruntime140 vcruntime140_1 mingw32 mingwex ucrt kernel32 user32 advapi32 shell32)
    string(APPEND CMAKE_CXX_STANDARD_LIBRARIES " -l${library}")
endforeach()
set(CMAKE_C_STANDARD_LIBRARIES "${CMAKE_CXX_STANDARD_LIBRARIES}")

# "-lldmingw" is what lld's MinGW driver asks of its linker: mingw-w64's objects need it. The STL's headers and clang name
# libraries of Microsoft's in the objects; their contents are in the list above.
# The stack probe has one meaning under two names. The paths are relative because the debug information names them.
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
