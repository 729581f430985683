# Runs the tool with the same arguments here and under Wine: it must print the same, and write the same files.
cmake_policy(VERSION 3.25)
find_program(identify identify REQUIRED)
if(NOT EXISTS ${host})
  message("skipped: there is no ${host} to compare with; ./check builds it")
  return()
endif()
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work}/here ${work}/there)

# run_both(ARGUMENTS...): both must end well. What they print goes to files: Wine's own processes would keep pipes open.
function(run_both)
  execute_process(COMMAND ${host} --virtual ${ARGN} WORKING_DIRECTORY ${work}/here
                  RESULT_VARIABLE here OUTPUT_FILE ${work}/here.out ERROR_FILE ${work}/here.err)
  execute_process(COMMAND ${emulator} ${tool} --virtual ${ARGN} WORKING_DIRECTORY ${work}/there
                  RESULT_VARIABLE there OUTPUT_FILE ${work}/there.out ERROR_FILE ${work}/there.err)
  if(NOT here EQUAL 0 OR NOT there EQUAL 0)
    file(READ ${work}/here.err here_said)
    file(READ ${work}/there.err there_said)
    message(FATAL_ERROR "${ARGN}: ended with ${here} here: ${here_said}and ${there} under Wine: ${there_said}")
  endif()
endfunction()

# compare(NAMES ARGUMENTS...): NAMES are the files that the run must write.
function(compare names)
  run_both(${ARGN})
  foreach(name IN LISTS names)
    same_file(${name} ${ARGN})
  endforeach()
endfunction()

# same_file(NAME ARGUMENTS...): the arguments that both files come from are printed when they differ.
function(same_file name)
  file(SIZE ${work}/here/${name} size)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${work}/here/${name} ${work}/there/${name}
                  RESULT_VARIABLE differ ERROR_QUIET)
  if(size EQUAL 0 OR differ)
    message(SEND_ERROR "${ARGN}: ${name} differs under Wine")
  endif()
endfunction()

# compare_pages(NAME ARGUMENTS...): the pages are the same, pixel for pixel, where the files need not be: %# is the sum
# over a page's pixels.
function(compare_pages name)
  run_both(${ARGN})
  foreach(side here there)
    execute_process(COMMAND ${identify} -format "%m %wx%h %[bit-depth] %x %y %U %#\\n" ${work}/${side}/${name}
                    OUTPUT_VARIABLE ${side} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  if(here STREQUAL "" OR NOT there STREQUAL here)
    message(SEND_ERROR "${ARGN}: ${name} is\n${here}here and\n${there}under Wine")
  endif()
endfunction()

# same_text(ARGUMENTS...): what the tool prints is the same, but for the line ends and for the time.
function(same_text)
  run_both(${ARGN})
  foreach(side here there)
    file(READ ${work}/${side}.out text)
    string(REGEX REPLACE "\r|Device Time[^\n]*" "" ${side} "${text}")
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
  foreach(extension tif bmp png jpg pdf)
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

set(encoded
  "lzw.tif --mode gray --compression lzw"
  "jpeg.tif --mode color --compression jpeg --jpeg-quality 60"
  "group4.tif --mode lineart --compression group4"
  "quality.jpg --mode color --jpeg-quality 30"
  "quality.pdf --mode gray --jpeg-quality 95")
foreach(options IN LISTS encoded)
  separate_arguments(options)
  list(POP_FRONT options name)
  compare(${name} ${scan} ${options} -o ${name})
endforeach()
# Here libtiff may deflate by another library than zlib.
compare_pages(deflate.tif ${scan} --mode gray --compression deflate -o deflate.tif)

set(run ${scan} -o all.pdf)
compare(all.pdf ${run} --source feeder --pages 2 --compression deflate)
compare(all.pdf ${run} --append --mode lineart)
compare(all.pdf ${run} --append --mode color)

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
set(pngs
  "png1 -monochrome" "png4 -colors 16" "png8 -colors 200" "deep -depth 16 -evaluate add 77 -define png:bit-depth=16"
  "deepgrey -colorspace gray -depth 16" "grey2 -colorspace gray -depth 2" "seethrough -alpha set -channel A -fx i/w" "greyalpha -colorspace gray -alpha set -channel A -fx j/h"
  "palettealpha -colors 20 -alpha set -channel A -threshold 50% -fx i>40" "interlaced -interlace PNG")
foreach(variant IN LISTS pngs)
  separate_arguments(variant)
  list(POP_FRONT variant name)
  file(MAKE_DIRECTORY ${work}/png-${name})
  execute_process(COMMAND ${convert} ${drawn} ${variant} ${work}/png-${name}/page.png COMMAND_ERROR_IS_FATAL ANY)
  compare(${name}.bmp ${scan} --virtual-pages ../png-${name} --source feeder --mode color -o ${name}.bmp)
endforeach()
set(jpegs "plain -quality 95" "progressive -interlace JPEG" "inks -colorspace CMYK")
foreach(variant IN LISTS jpegs)
  separate_arguments(variant)
  list(POP_FRONT variant name)
  file(MAKE_DIRECTORY ${work}/jpg-${name})
  execute_process(COMMAND ${convert} ${drawn} ${variant} ${work}/jpg-${name}/page.jpg COMMAND_ERROR_IS_FATAL ANY)
  compare(${name}.bmp ${scan} --virtual-pages ../jpg-${name} --source feeder --mode color -o ${name}.bmp)
endforeach()

# The system's own service: Wine's cannot list devices, and the tool must say so.
execute_process(COMMAND ${emulator} ${tool} --wia 1 -L RESULT_VARIABLE result OUTPUT_VARIABLE listed ERROR_VARIABLE said)
if(result EQUAL 0 OR NOT listed STREQUAL "" OR NOT said MATCHES "listing the devices")
  message(SEND_ERROR "--wia 1 -L without devices of ours: ended with ${result}: ${listed}${said}")
endif()
