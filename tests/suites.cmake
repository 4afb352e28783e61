# Registers each test suite of a program as one test of CTest:
#
#     add_suites(PROGRAM PREFIX [PROPERTY VALUE]…)
#
# The names of the tests begin with PREFIX, and each test gets the properties. One process for each suite
# costs seconds in total. One process for each case would cost more than a minute.
#
# After each build of the program, this file runs as a script and asks the program for its suites.
# A new suite therefore needs no line in a CMake file.

set(suites_script ${CMAKE_CURRENT_LIST_FILE})

function(add_suites program prefix)
  set(list ${CMAKE_CURRENT_BINARY_DIR}/${program}-suites.cmake)
  string(JOIN " " properties ${ARGN})
  add_custom_command(TARGET ${program} POST_BUILD BYPRODUCTS ${list}
    COMMAND ${CMAKE_COMMAND} -D PROGRAM=$<TARGET_FILE:${program}> -D PREFIX=${prefix} -D LIST=${list}
            "-DPROPERTIES=${properties}"
            -P ${suites_script}
    VERBATIM)
  # If the program is not built, CTest has one test for the program, and this test fails.
  set(include ${CMAKE_CURRENT_BINARY_DIR}/${program}-include.cmake)
  file(WRITE ${include} "if(EXISTS \"${list}\")
  include(\"${list}\")
else()
  add_test(${program}_NOT_BUILT ${program}_NOT_BUILT)
endif()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include})
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE)
  return()
endif()

execute_process(COMMAND ${PROGRAM} --gtest_list_tests
  OUTPUT_VARIABLE listing TIMEOUT 60 COMMAND_ERROR_IS_FATAL ANY)
# The name of a suite begins its line and ends with a dot; the lines of its cases are indented.
string(REGEX MATCHALL "\n[^ \n]+\\." suites "\n${listing}")
list(TRANSFORM suites STRIP)
set(tests "")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "\\.$" "" name "${PREFIX}${suite}")
  # The main function of the tests returns 77 if a case was skipped and no case failed.
  string(APPEND tests "add_test([[${name}]] [[${PROGRAM}]] [[--gtest_filter=${suite}*]])
set_tests_properties([[${name}]] PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77 ${PROPERTIES})
")
endforeach()
file(WRITE ${LIST} "${tests}")
