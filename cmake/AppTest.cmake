# The test classes of one folder of tests/ are one QtTest program, tests_<folder>, and each class
# is a CTest test of its own that runs the class its first argument names (tests/support/TestMain.h).
# One program a folder costs one link and one code-generation step instead of one per class.
# Every test gets its own temporary HOME, XDG folders and settings so that nothing it writes
# outlives it. Programs of the core layers (foundation, platform, catalogue, engines) link the core
# test support only, so they build without Widgets; the others get the gui half as well.

# lv_test_program(<folder>): made in tests/ itself, so that QtTest's folder macros are one value
# for every program and the programs can share one precompiled QtTest.
function(lv_test_program folder)
    set(program tests_${folder})
    add_executable(${program} ${PROJECT_SOURCE_DIR}/tests/support/TestMain.cpp)
    set_target_properties(${program} PROPERTIES AUTOMOC ON)
    if(folder MATCHES "^(foundation|platform|catalogue|engines)$")
        target_link_libraries(${program} PRIVATE Qt6::Test lv_testsupport_core)
        lv_precompiled_headers(${program} tests_core)
    else()
        target_link_libraries(${program} PRIVATE Qt6::Test lv_testsupport)
        lv_precompiled_headers(${program} tests_gui)
    endif()
endfunction()

# add_app_test(NAME <test class> SOURCES <files...> [LIBS <targets...>] [TIMEOUT <seconds>])
# Adds the class to its folder's program and registers it with CTest.
function(add_app_test)
    cmake_parse_arguments(T "" "NAME;TIMEOUT" "SOURCES;LIBS" ${ARGN})
    get_filename_component(folder ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    set(program tests_${folder})
    target_sources(${program} PRIVATE ${T_SOURCES})
    target_link_libraries(${program} PRIVATE ${T_LIBS})
    add_test(NAME ${T_NAME} COMMAND ${program} ${T_NAME})
    # LV_PLATFORM=emulated: on any system, a test works on the Mac inside its own folder, never on "/".
    set(env "QT_QPA_PLATFORM=offscreen" "LV_PLATFORM=emulated" "LV_TEST_BINARY_DIR=${PROJECT_BINARY_DIR}"
            "LV_TEST_DATA_DIR=${PROJECT_SOURCE_DIR}/tests/data"
            "ASAN_OPTIONS=detect_leaks=0" "QT_LOGGING_RULES=qt.qpa.*=false")
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES ENVIRONMENT "${env}" TIMEOUT ${T_TIMEOUT})
endfunction()
