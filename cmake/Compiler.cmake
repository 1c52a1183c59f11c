# SPDX-License-Identifier: GPL-2.0-or-later
# Language standard and warnings of all targets. Warnings are errors; with Visual Studio only in the preset windows-x64-ci.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

if(MSVC)
    # C4702, unreachable code, is reported in Qt's templates with optimisation.
    add_compile_options(/W4 /wd4702 /permissive- /utf-8)
    # Reproducible build without the build machine's folders in the module.
    add_link_options(/INCREMENTAL:NO /OPT:REF /OPT:ICF /Brepro /PDBALTPATH:%_PDB%)
else()
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # GNU extensions and C++23, which Visual Studio does not accept, and warnings that GCC does not have.
        add_compile_options(-Wgnu -Wc++23-extensions -Wextra-semi -Wimplicit-fallthrough -Wnon-virtual-dtor -Wunreachable-code)
    endif()
endif()
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)

set(TARVOLINE_SANITIZE "" CACHE STRING "Sanitizers for every target, as in -fsanitize=…")
if(TARVOLINE_SANITIZE)
    add_compile_options(-fsanitize=${TARVOLINE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${TARVOLINE_SANITIZE})
endif()

option(TARVOLINE_FUZZ "Instrument all targets for libFuzzer (clang) and link it to the fuzz targets" OFF)
if(TARVOLINE_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()
