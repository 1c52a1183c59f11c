# SPDX-License-Identifier: GPL-2.0-or-later
include(CTest)

# tarvoline_add_test(NAME SOURCES… [LIBRARIES …] [LABELS …] [TIMEOUT seconds]
#                    [SERVERS | JSON_SERVICE | VENDOR_SERVICE])
# A Qt Test executable that CTest runs without a display (under Wine on a virtual display), with a separate home. With SERVERS
# it runs through testkit/withservers.py (HTTPS servers), with JSON_SERVICE through withjsonservice.py (test server in place of
# the vendor's service), with VENDOR_SERVICE through withvendorservice.py (the real service; Linux only).
function(tarvoline_add_test name)
    cmake_parse_arguments(arg "SERVERS;JSON_SERVICE;VENDOR_SERVICE" "TIMEOUT" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    # No test uses the macros with the folders of the checkout that Qt6::Test defines. Without them ccache finds the objects of
    # other checkouts.
    set_target_properties(${name} PROPERTIES AUTOMOC ON QT_SKIP_DEFAULT_TESTCASE_DIRS ON)
    # With ThreadSanitizer only tests with several threads are built.
    if(TARVOLINE_SANITIZE STREQUAL "thread" AND NOT "tsan" IN_LIST arg_LABELS)
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    endif()
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} Qt6::Test)
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests" "${CMAKE_SOURCE_DIR}")
    if(Qt6_VERSION VERSION_LESS 6.9 AND NOT MSVC)
        # The QTRY_ macros of Qt 6.8 cause a narrowing warning.
        target_compile_options(${name} PRIVATE -Wno-conversion)
    endif()
    if(CMAKE_HOST_WIN32 AND (arg_SERVERS OR arg_JSON_SERVICE OR arg_VENDOR_SERVICE))
        return()
    endif()
    set(launcher "${CMAKE_SOURCE_DIR}/testkit/isolate.sh")
    if(arg_SERVERS)
        list(APPEND launcher "${CMAKE_SOURCE_DIR}/testkit/withservers.py" --vendor "${TARVOLINE_VENDOR_HOST}")
        if(NOT CMAKE_CROSSCOMPILING)
            list(APPEND launcher --service "${CMAKE_BINARY_DIR}/packaging/service/tarvoline-service.conf")
        endif()
    elseif(arg_JSON_SERVICE)
        set(launcher "${CMAKE_SOURCE_DIR}/testkit/withjsonservice.py" "${TARVOLINE_VENDOR_HOST}")
    elseif(arg_VENDOR_SERVICE)
        set(launcher "${CMAKE_SOURCE_DIR}/testkit/withvendorservice.py" "${TARVOLINE_VENDOR_HOST}"
            "${CMAKE_BINARY_DIR}/packaging/service/tarvoline-service.conf")
    endif()
    if(CMAKE_CROSSCOMPILING)
        add_dependencies(${name} qtparts)
        add_test(NAME ${name} COMMAND ${launcher} "${CMAKE_SOURCE_DIR}/testkit/winetest.sh"
            ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>)
    elseif(CMAKE_HOST_WIN32)
        add_test(NAME ${name} COMMAND ${name} -o -,txt)
    else()
        add_test(NAME ${name} COMMAND ${launcher} $<TARGET_FILE:${name}> -o -,txt)
    endif()
    set(home "${CMAKE_BINARY_DIR}/tests/home/${name}")
    file(MAKE_DIRECTORY "${home}/runtime")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    math(EXPR functionLimitMs "${arg_TIMEOUT} * 1000 * 3 / 4")
    if(NOT arg_LABELS)
        set(arg_LABELS unit)
    endif()
    set(platform "QT_QPA_PLATFORM=offscreen")
    if(CMAKE_CROSSCOMPILING)
        set(platform "") # the virtual screen of winetest.sh
    endif()
    set(sanitizer "")
    if(TARVOLINE_SANITIZE STREQUAL "thread")
        set(sanitizer "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/testkit/tsan.supp")
    endif()
    # A hanging test function is ended and reported before CTest's time limit. No stack dump after a crash: Qt Test's handler
    # forks a debugger, and fork blocks if the crash was inside malloc.
    set(limits "QTEST_FUNCTION_TIMEOUT=${functionLimitMs};QTEST_DISABLE_STACK_DUMP=1")
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}" SKIP_RETURN_CODE 77
        ENVIRONMENT "${platform};${limits};HOME=${home};XDG_CONFIG_HOME=${home}/.config;XDG_RUNTIME_DIR=${home}/runtime;${sanitizer}")
endfunction()
