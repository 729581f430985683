# Wine that has just been started starts its image-acquisition service late, or not at all while it starts others:
# waits for the service to be there, so that no test meets that.
cmake_policy(VERSION 3.25)
string(TIMESTAMP now %s)
math(EXPR end "${now} + 300")
while(now LESS end)
  execute_process(COMMAND ${emulator} ${program} --gtest_filter=SystemService.TellsWhichGenerationsAreThere
                  RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text TIMEOUT 120)
  if(result EQUAL 0)
    return()
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E sleep 1)
  string(TIMESTAMP now %s)
endwhile()
message(FATAL_ERROR "Wine does not start its image-acquisition service, which the tests under it need. "
                    "The last try ended with ${result}:\n${text}")
