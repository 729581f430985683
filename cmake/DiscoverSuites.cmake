# Run after a test program is built: writes a file for ctest with one test for each of its suites.
#   cmake -D emulator=... -D program=... -D out=... -D label=... -D timeout=... -P DiscoverSuites.cmake
execute_process(COMMAND ${emulator} ${program} --gtest_list_tests
                OUTPUT_VARIABLE listed RESULT_VARIABLE result TIMEOUT 300)
if(NOT result EQUAL 0)
  file(REMOVE ${program})
  message(FATAL_ERROR "${program} does not list its tests: ${result}")
endif()
string(REPLACE "\r" "" listed "${listed}")
string(REGEX MATCHALL "[^\n]+" lines "${listed}")
set(tests "")
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+)\\.( |$)")
    set(suite ${CMAKE_MATCH_1})
    string(APPEND tests "add_test([[${suite}]] ${emulator} ${program} --gtest_filter=${suite}.*)\n"
                        "set_tests_properties([[${suite}]] PROPERTIES LABELS ${label} TIMEOUT ${timeout})\n")
  endif()
endforeach()
file(WRITE ${out} "${tests}")
