# Writes a CTest file with one test for each test function of a QtTest program. Tests that are named
# in excluded_tests are listed there too, but as disabled.
cmake_minimum_required(VERSION 3.16)

execute_process(
    COMMAND ${emulator} "${program}" -functions
    OUTPUT_VARIABLE functions
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} -functions failed: ${result}")
endif()

string(REGEX MATCHALL "[A-Za-z0-9_]+\\(\\)" functions "${functions}")
set(command "")
foreach(argument IN LISTS emulator program)
    string(APPEND command " [[${argument}]]")
endforeach()

set(content "")
foreach(function IN LISTS functions)
    string(REPLACE "()" "" function "${function}")
    set(test "${name}.${function}")
    set(disabled FALSE)
    if(test IN_LIST excluded_tests)
        list(REMOVE_ITEM excluded_tests ${test})
        set(disabled TRUE)
    endif()
    string(APPEND content
        "add_test([[${test}]]${command} ${function})\n"
        "set_tests_properties([[${test}]] PROPERTIES ENVIRONMENT [[${environment}]]\n"
        "    TIMEOUT ${timeout} DISABLED ${disabled})\n")
endforeach()
if(excluded_tests)
    message(FATAL_ERROR "Excluded, but there is no such test: ${excluded_tests}")
endif()
file(WRITE "${list_file}" "${content}")
