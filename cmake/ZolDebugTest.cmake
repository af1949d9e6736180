# The kinds of test program. Each is one source file named after its target.

function(zoldebug_add_test_program source out_target)
    get_filename_component(target ${source} NAME_WE)
    add_executable(${target} ${source})
    zoldebug_compile_strictly(${target})
    target_link_libraries(${target} PRIVATE zoldebug_test_support ZolDebug::ZolDebug)
    set(${out_target} ${target} PARENT_SCOPE)
endfunction()

# The functions of a QtTest program that are not to run, as "program.function".
function(zoldebug_find_excluded target out_tests)
    set(tests ${zoldebug_excluded_tests})
    list(FILTER tests INCLUDE REGEX "^${target}\\.")
    set(${out_tests} ${tests} PARENT_SCOPE)
endfunction()

# What holds for every test: where it runs, for how long, and whether it runs at all.
function(zoldebug_set_up_test test)
    set(disabled FALSE)
    if(test IN_LIST zoldebug_excluded_tests)
        set(disabled TRUE)
    endif()
    set_tests_properties(${test} PROPERTIES
        ENVIRONMENT "${zoldebug_test_environment}"
        TIMEOUT ${zoldebug_test_timeout}
        DISABLED ${disabled})
endfunction()

# Makes every function of a QtTest program a test of its own, found by asking the built program.
function(zoldebug_list_functions target)
    set(list_file "${CMAKE_CURRENT_BINARY_DIR}/${target}_tests.cmake")
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND}
            "-Dprogram=$<TARGET_FILE:${target}>"
            "-Demulator=${CMAKE_CROSSCOMPILING_EMULATOR}"
            "-Dname=${target}"
            "-Denvironment=${zoldebug_test_environment}"
            "-Dtimeout=${zoldebug_test_timeout}"
            "-Dexcluded_tests=${ARGN}"
            "-Dlist_file=${list_file}"
            -P "${PROJECT_SOURCE_DIR}/cmake/ListScenarios.cmake"
        BYPRODUCTS "${list_file}"
        VERBATIM)
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${list_file}")
endfunction()

# A QtTest program whose test functions may share one process, unless one of them is excluded.
function(zoldebug_add_unit_test source)
    zoldebug_add_test_program(${source} target)
    target_link_libraries(${target} PRIVATE ${ZOLDEBUG_QT_TEST})
    zoldebug_find_excluded(${target} excluded)
    if(excluded)
        zoldebug_list_functions(${target} ${excluded})
    else()
        add_test(NAME ${target} COMMAND ${target})
        zoldebug_set_up_test(${target})
    endif()
endfunction()

# A QtTest program whose test functions need a process each, because the collector starts only
# once, or because they run many processes themselves and are quicker side by side.
function(zoldebug_add_scenarios source)
    zoldebug_add_test_program(${source} target)
    target_link_libraries(${target} PRIVATE ${ZOLDEBUG_QT_TEST})
    zoldebug_find_excluded(${target} excluded)
    zoldebug_list_functions(${target} ${excluded})
endfunction()

# A program that tests run as a process of its own to see how it ends.
function(zoldebug_add_test_host source)
    zoldebug_add_test_program(${source} target)
endfunction()
