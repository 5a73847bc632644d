# Shared helpers for the subsystem folders, the host and the tests.

set(VELL_WARNINGS -Wall -Wextra -Werror)

# vell_add_library(<folder> [DEPENDS targets...] [EXCLUDE files...])
# Builds every .cpp of the folder into the static library vell_<folder>. Headers are included
# from the repository root ("frame/CModule.h").
function(vell_add_library folder)
    cmake_parse_arguments(ARG "" "" "DEPENDS;EXCLUDE" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(ex IN LISTS ARG_EXCLUDE)
        list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${ex})
    endforeach()
    add_library(vell_${folder} STATIC ${sources})
    target_include_directories(vell_${folder} PUBLIC ${PROJECT_SOURCE_DIR})
    target_compile_options(vell_${folder} PRIVATE ${VELL_WARNINGS})
    target_link_libraries(vell_${folder} PUBLIC ${ARG_DEPENDS})
endfunction()

# vell_add_test_suite(<subsystem> [DEPENDS targets...])
# One test program per folder tests/<subsystem>/, every test labelled with the subsystem.
function(vell_add_test_suite subsystem)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${subsystem}/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(test_${subsystem} ${sources})
    target_compile_options(test_${subsystem} PRIVATE ${VELL_WARNINGS})
    target_compile_definitions(test_${subsystem} PRIVATE
        VELL_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data"
        VELL_BUILD_DIR="${PROJECT_BINARY_DIR}")
    target_link_libraries(test_${subsystem} PRIVATE ${ARG_DEPENDS} vell_fakehost
                          GTest::gtest GTest::gmock GTest::gtest_main)
    gtest_discover_tests(test_${subsystem}
        PROPERTIES LABELS ${subsystem}
        DISCOVERY_TIMEOUT 60)
endfunction()
