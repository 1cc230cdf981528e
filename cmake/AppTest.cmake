# add_app_test(NAME <name> SOURCES <files...> [LIBS <targets...>] [GUI])
# One QtTest executable per test class, registered with CTest. Every test gets its own
# temporary HOME, XDG folders and settings so that nothing it writes outlives it. Tests of the
# core layers (tests/foundation, platform, catalogue, engines) link the core test support only,
# so they build without Widgets; the others (or GUI) get the gui half as well.
function(add_app_test)
    cmake_parse_arguments(T "GUI" "NAME;TIMEOUT" "SOURCES;LIBS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    get_filename_component(layer ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    if(layer MATCHES "^(foundation|platform|catalogue|engines)$" AND NOT T_GUI)
        set(support lv_testsupport_core)
    else()
        set(support lv_testsupport)
    endif()
    target_link_libraries(${T_NAME} PRIVATE Qt6::Test ${support} ${T_LIBS})
    add_test(NAME ${T_NAME} COMMAND ${T_NAME})
    # LV_PLATFORM=emulated: on any system, a test works on the Mac inside its own folder, never on "/".
    set(env "QT_QPA_PLATFORM=offscreen" "LV_PLATFORM=emulated" "LV_TEST_BINARY_DIR=${PROJECT_BINARY_DIR}"
            "LV_TEST_DATA_DIR=${PROJECT_SOURCE_DIR}/tests/data"
            "ASAN_OPTIONS=detect_leaks=0" "QT_LOGGING_RULES=qt.qpa.*=false")
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 300)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES ENVIRONMENT "${env}" TIMEOUT ${T_TIMEOUT})
endfunction()
