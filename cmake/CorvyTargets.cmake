# Settings that every target shares, and the few functions by which folders declare their targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Programs find each other by lying side by side, so all of them are built into the top folder.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set(CMAKE_CXX_FLAGS_RELEASE "-O2")
endif()

find_program(CORVY_CCACHE ccache)
if(CORVY_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CORVY_CCACHE}")
    set(CMAKE_C_COMPILER_LAUNCHER "${CORVY_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
if(CORVY_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()
if(CORVY_SANITIZE)
    add_compile_options(-fsanitize=${CORVY_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CORVY_SANITIZE})
endif()
if(CORVY_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
add_compile_definitions(CORVY_VERSION="${PROJECT_VERSION}")

# corvy_library(NAME SOURCES ... [LINKS ...] [PRIVATE_LINKS ...]): one static library, included
# from src/.
function(corvy_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/src>")
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()

# corvy_test(NAME SOURCES ... LINKS ... [DEPENDS ...]): one GoogleTest program, one ctest entry
# for each test. DEPENDS names programs that the tests start; they lie in the build folder, whose
# path the tests get as CORVY_BUILD_DIR.
function(corvy_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/src")
    target_compile_definitions(${name} PRIVATE
        CORVY_BUILD_DIR="${CMAKE_BINARY_DIR}"
        CORVY_EXAMPLES="${CMAKE_SOURCE_DIR}/examples")
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gtest GTest::gtest_main)
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    target_precompile_headers(${name} PRIVATE <gtest/gtest.h> <string> <vector> <optional>)
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()

# corvy_bench(NAME SOURCES ... LINKS ... [DEPENDS ...]): one Google Benchmark program.
function(corvy_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/src")
    target_compile_definitions(${name} PRIVATE CORVY_BUILD_DIR="${CMAKE_BINARY_DIR}")
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} benchmark::benchmark)
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bench")
endfunction()

# corvy_fuzz(NAME SOURCES ... LINKS ...): one libFuzzer program; seeds lie in fuzz/corpus/NAME
# without its "fuzz_".
function(corvy_fuzz name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/src" "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${ARG_LINKS})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz")
endfunction()
