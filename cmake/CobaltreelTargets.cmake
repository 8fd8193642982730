# Flags shared by every target of the project.
add_library(CobaltreelFlags INTERFACE)
target_compile_options(CobaltreelFlags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
if(CMAKE_UNITY_BUILD)
    # A source file that another one includes looks like a header to this warning.
    target_compile_options(CobaltreelFlags INTERFACE -Wno-subobject-linkage)
endif()
target_compile_definitions(CobaltreelFlags INTERFACE QT_NO_KEYWORDS)
if(COBALTREEL_SANITIZE)
    target_compile_options(CobaltreelFlags INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer
        # GCC takes the sanitizers' own bookkeeping in std::function and std::regex for reads too early.
        -Wno-maybe-uninitialized)
    target_link_options(CobaltreelFlags INTERFACE -fsanitize=address,undefined)
endif()
if(COBALTREEL_FUZZ)
    target_compile_options(CobaltreelFlags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# cobaltreel_library(NAME SOURCES ... PUBLIC ... PRIVATE ...): one box of the architecture.
# Headers are included by their path below Sources.
function(cobaltreel_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Sources)
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE CobaltreelFlags ${ARG_PRIVATE})
endfunction()

# How many times longer than usual the tests may take; scripts and waits of the tests get it from ./test.
set(COBALTREEL_PATIENCE 1 CACHE STRING "Factor on the time limits of the tests")

# cobaltreel_run_alone(SECONDS TESTS...): these tests meet a desktop or a media server and run one at a time.
function(cobaltreel_run_alone seconds)
    math(EXPR limit "${seconds} * ${COBALTREEL_PATIENCE}")
    set_tests_properties(${ARGN} PROPERTIES RUN_SERIAL ON TIMEOUT ${limit})
endfunction()

# cobaltreel_test(NAME SOURCES ... LIBRARIES ... [DESKTOP] [LABELS ...]): one test program.
# DESKTOP runs it inside the virtual desktop of Tests/Rig, one program at a time.
function(cobaltreel_test name)
    cmake_parse_arguments(ARG "DESKTOP" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/Tests)
    target_link_libraries(${name} PRIVATE CobaltreelFlags ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(ARG_DESKTOP)
        add_test(NAME ${name}
            COMMAND ${PROJECT_SOURCE_DIR}/Tests/Rig/desktop -- $<TARGET_FILE:${name}>)
        cobaltreel_run_alone(${ARG_TIMEOUT} ${name})
    else()
        math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${COBALTREEL_PATIENCE}")
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    endif()
endfunction()
