# tinct_library(NAME [LIBS ...]): a subsystem, from all the sources of its directory.
function(tinct_library name)
    cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PUBLIC tinct_options ${arg_LIBS})
endfunction()

# tinct_program(NAME [DEVELOPER] [COMMANDS LIBRARY] LIBS ...): a program, from all the sources of its directory. With
# COMMANDS all but main.cpp are a library of that name, so that tests and fuzz targets can run the program's commands
# without a process. A DEVELOPER program isn't installed.
function(tinct_program name)
    cmake_parse_arguments(arg "DEVELOPER" "COMMANDS" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    if(arg_COMMANDS)
        set(main ${CMAKE_CURRENT_SOURCE_DIR}/main.cpp)
        list(REMOVE_ITEM sources ${main})
        add_library(${arg_COMMANDS} STATIC ${sources})
        target_link_libraries(${arg_COMMANDS} PUBLIC tinct_options ${arg_LIBS})
        set(sources ${main})
        set(arg_LIBS ${arg_COMMANDS})
    endif()
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE tinct_options ${arg_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    if(NOT arg_DEVELOPER)
        install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
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
