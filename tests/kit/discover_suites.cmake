# Read by ctest before it runs: makes a test of each suite in ${program}.
# A process a test would spend most of its time on starting.
if(NOT EXISTS "${program}")
    add_test("${program}_NOT_BUILT" "${program}")
    return()
endif()
execute_process(COMMAND ${emulator} "${program}" --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE result)
get_filename_component(base "${program}" NAME_WE)
if(NOT result EQUAL 0)
    add_test("${base}_DOES_NOT_START" ${emulator} "${program}" --gtest_list_tests)
    return()
endif()
string(REPLACE "\r" "" listing "${listing}")
string(REGEX MATCHALL "[A-Za-z0-9_/]+\\.( *#[^\n]*)?\n" suites "${listing}")
foreach(suite IN LISTS suites)
    string(REGEX REPLACE "\\..*" "" suite "${suite}")
    add_test("${suite}" ${emulator} "${program}" "--gtest_filter=${suite}.*" --gtest_brief=1)
    # The pending value and the log in the Windows directory exist once a machine.
    set_tests_properties("${suite}" PROPERTIES RESOURCE_GROUPS machines:1 TIMEOUT 600)
endforeach()
