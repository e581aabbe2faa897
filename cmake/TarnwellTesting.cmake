# tarnwell_add_test(NAME SOURCES ... LIBS ... [CORE])
# CORE marks tests of the core libraries: they also run in the sanitizer build,
# which builds only the target tarnwell_core_tests.
if(TARNWELL_BUILD_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
    add_custom_target(tarnwell_core_tests)
endif()

# Tests that need a Qt application list this among their SOURCES.
set(TARNWELL_QT_TEST_MAIN ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp)

function(tarnwell_add_test name)
    cmake_parse_arguments(T "CORE" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${T_SOURCES})
    target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
    target_compile_definitions(${name} PRIVATE
        TARNWELL_TEST_DATA_DIR="${PROJECT_SOURCE_DIR}/tests/data"
        TARNWELL_BINARY_DIR="${PROJECT_BINARY_DIR}")
    if(T_CORE)
        set(labels core)
        add_dependencies(tarnwell_core_tests ${name})
    else()
        set(labels app)
    endif()
    gtest_discover_tests(${name} PROPERTIES LABELS "${labels}" DISCOVERY_TIMEOUT 60)
endfunction()
