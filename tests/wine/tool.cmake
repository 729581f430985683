# Runs the tool with the same arguments here and under Wine: it must print the same, and the files must hold the same
# pages, pixel for pixel, of the same size and resolution.
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

# same_text(ARGUMENTS...): what the tool prints is the same, but for the line ends, for the time, and for the formats
# that the system may not have codecs for.
function(same_text)
  execute_process(COMMAND ${host} ${ARGN} WORKING_DIRECTORY ${work}/here
                  OUTPUT_VARIABLE here COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${emulator} ${tool} --virtual ${ARGN} WORKING_DIRECTORY ${work}/there
                  OUTPUT_VARIABLE there COMMAND_ERROR_IS_FATAL ANY)
  foreach(text here there)
    string(REGEX REPLACE "\r|Device Time[^\n]*|, (jpeg|png) \\(file\\)|\\|(jpeg|png)" "" ${text} "${${text}}")
  endforeach()
  if(here STREQUAL "" OR NOT there STREQUAL here)
    message(SEND_ERROR "${ARGN}: printed\n${here}here and\n${there}under Wine")
  endif()
endfunction()

set(scan -d virtual:scanner --dpi 100)
foreach(generation 1 2)
  set(run --wia ${generation} ${scan})
  same_text(--wia ${generation} -L --json)
  same_text(--wia ${generation} -d virtual:scanner -A)
  same_text(${run} --source feeder --pages 2 --json -o json${generation}.tif)
  set(a5 --pagesize a5 --source feeder --mode gray)
  compare(a5-${generation}.tif ${run} ${a5} --pages 1 -o a5-${generation}.tif)
  foreach(extension tif bmp)
    foreach(mode lineart gray color)
      compare(${mode}${generation}.${extension} ${run} --mode ${mode} -o ${mode}${generation}.${extension})
    endforeach()
  endforeach()
  compare(memory${generation}.tif ${run} --memory -o memory${generation}.tif)
  compare(all${generation}.tif ${run} --source feeder --pages 3 --multi-page -o all${generation}.tif)
  compare(all${generation}.tif ${run} --append -o all${generation}.tif)
  set(single "page${generation}.bmp;page${generation} (1).bmp")
  compare("${single}" ${run} --source feeder --pages 2 -o page${generation}.bmp)
  compare("batch${generation}-1.tif;batch${generation}-2.tif"
          ${run} --source feeder --batch=batch${generation}-%d.tif --batch-count 2)
endforeach()

# Files that others wrote are read and appended to alike.
find_program(convert convert REQUIRED)
set(drawn ${work}/drawn.png)
execute_process(COMMAND ${convert} -size 96x64 plasma:red-blue -depth 8 -density 100 -units PixelsPerInch ${drawn}
                COMMAND_ERROR_IS_FATAL ANY)
set(variants
  "lzw -compress LZW tiff"
  "deflate -compress Zip tiff"
  "packed -compress RLE tiff"
  "fax -monochrome -compress Group4 tiff"
  "tiled -define tiff:tile-geometry=32x32 tiff"
  "deep -depth 16 tiff"
  "deepgrey -colorspace gray -depth 16 tiff"
  "cmyk -colorspace CMYK tiff"
  "indexed -colors 16 -type Palette tiff"
  "bigendian -endian MSB -compress None tiff"
  "large tiff64")
foreach(variant IN LISTS variants)
  separate_arguments(variant)
  list(POP_FRONT variant name)
  file(MAKE_DIRECTORY ${work}/${name})
  set(file ${work}/${name}/page.tif)
  list(POP_BACK variant format)
  execute_process(COMMAND ${convert} ${drawn} ${variant} ${format}:${file} COMMAND_ERROR_IS_FATAL ANY)
  compare(${name}.bmp ${scan} --virtual-pages ../${name} --source feeder --mode color -o ${name}.bmp)
  file(COPY_FILE ${file} ${work}/here/${name}.tif)
  file(COPY_FILE ${file} ${work}/there/${name}.tif)
  compare(${name}.tif ${scan} --append -o ${name}.tif)
endforeach()

# The system's own service: Wine's cannot list devices, and the tool must say so.
execute_process(COMMAND ${emulator} ${tool} --wia 1 -L RESULT_VARIABLE result OUTPUT_VARIABLE listed ERROR_VARIABLE said)
if(result EQUAL 0 OR NOT listed STREQUAL "" OR NOT said MATCHES "listing the devices")
  message(SEND_ERROR "--wia 1 -L without devices of ours: ended with ${result}: ${listed}${said}")
endif()
