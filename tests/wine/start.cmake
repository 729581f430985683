# Wine that has just been started starts its image-acquisition service late, or not at all while it starts others:
# waits for the service to be there, so that no test meets that.
cmake_policy(VERSION 3.25)
foreach(attempt RANGE 30)
  execute_process(COMMAND ${emulator} ${tool} --wia 1 --list-devices RESULT_VARIABLE result ERROR_VARIABLE text)
  if(result EQUAL 0 OR NOT text MATCHES "WIA 1.0 is not available")
    return()
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E sleep 1)
endforeach()
message(FATAL_ERROR "Wine does not start its image-acquisition service: ${text}")
