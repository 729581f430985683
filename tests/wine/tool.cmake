# Runs the tool with the same arguments here and under Wine: the files must hold the same pages, pixel for pixel,
# of the same size and resolution.
cmake_policy(VERSION 3.25)
find_program(identify identify REQUIRED)
if(NOT EXISTS ${host})
  message("skipped: there is no ${host} to compare with; ./check builds it")
  return()
endif()
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work}/here ${work}/there)

# Sets PAGES to a line for each page of a file; %# is the sum over its pixels.
function(describe file pages)
  execute_process(COMMAND ${identify} -format "%m %wx%h %[bit-depth] %x %y %U %#\\n" ${file}
                  OUTPUT_VARIABLE lines COMMAND_ERROR_IS_FATAL ANY)
  set(${pages} "${lines}" PARENT_SCOPE)
endfunction()

# compare(NAMES ARGUMENTS...): NAMES are the files that the run must write.
function(compare names)
  execute_process(COMMAND ${host} ${ARGN} WORKING_DIRECTORY ${work}/here
                  RESULT_VARIABLE here OUTPUT_QUIET ERROR_VARIABLE text)
  execute_process(COMMAND ${emulator} ${tool} --virtual ${ARGN} WORKING_DIRECTORY ${work}/there
                  RESULT_VARIABLE there OUTPUT_QUIET ERROR_VARIABLE text)
  if(NOT here EQUAL 0 OR NOT there EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ended with ${here} here and ${there} under Wine: ${text}")
  endif()
  foreach(name IN LISTS names)
    describe(${work}/here/${name} expected)
    describe(${work}/there/${name} actual)
    if(NOT expected OR NOT actual STREQUAL expected)
      message(SEND_ERROR "${ARGN}: ${name} is\n${expected}here and\n${actual}under Wine")
    endif()
  endforeach()
endfunction()

set(scan -d virtual:scanner --dpi 100)
foreach(generation 1 2)
  set(run --wia ${generation} ${scan})
  foreach(extension tif bmp)
    foreach(mode lineart gray color)
      compare(${mode}${generation}.${extension} ${run} --mode ${mode} -o ${mode}${generation}.${extension})
    endforeach()
  endforeach()
  compare(memory${generation}.tif ${run} --memory -o memory${generation}.tif)
  compare(all${generation}.tif ${run} --source feeder --pages 3 --multi-page -o all${generation}.tif)
  compare(all${generation}.tif ${run} --append -o all${generation}.tif)
  set(single "page${generation}.tif;page${generation} (1).tif")
  compare("${single}" ${run} --source feeder --pages 2 -o page${generation}.tif)
endforeach()
