# tinct_library(NAME [LIBS ...]): a subsystem, from all the sources of its directory.
function(tinct_library name)
    cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PUBLIC tinct_options ${arg_LIBS})
endfunction()

# tinct_program(NAME LIBS ...): a program, from all the sources of its directory.
function(tinct_program name)
    cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE tinct_options ${arg_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# tinct_test(NAME LIBS ...): the test program of a subsystem, linked with what it needs and nothing above it. What
# every test program has, tests/CMakeLists.txt puts into tinct_test_main.
function(tinct_test name)
    cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} tinct_test_main)
    target_precompile_headers(${name} REUSE_FROM tinct_test_main)
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
