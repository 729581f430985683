cmake_minimum_required(VERSION 3.25)
set(prefix ${work}/prefix)
set(consumer ${work}/consumer)
file(REMOVE_RECURSE ${prefix} ${consumer})
file(MAKE_DIRECTORY ${consumer})

function(run)
  execute_process(COMMAND ${ARGV} WORKING_DIRECTORY ${consumer} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

function(expect_file file)
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "${file} is missing")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${build} --prefix ${prefix})

# The example is the README's first C block.
file(READ ${CMAKE_CURRENT_LIST_DIR}/../../README.md readme)
string(FIND "${readme}" "```c\n" start)
math(EXPR start "${start} + 5")
string(SUBSTRING "${readme}" ${start} -1 example)
string(FIND "${example}" "```" end)
string(SUBSTRING "${example}" 0 ${end} example)
file(WRITE ${consumer}/example.c "${example}")

configure_file(${CMAKE_CURRENT_LIST_DIR}/consumer.cmake ${consumer}/CMakeLists.txt COPYONLY)
set(sanitizers "")
if(sanitize)
  set(sanitizers -fsanitize=${sanitize})
endif()
run(${CMAKE_COMMAND} -S . -B . -G Ninja -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_FLAGS=${sanitizers})
run(${CMAKE_COMMAND} --build .)
set(ENV{VORNWIA_VIRTUAL_DEVICES} only)
run(./example)
expect_file(${consumer}/page.bmp)

# The examples build as a project of their own.
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/../../examples -B examples -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_FLAGS=${sanitizers})
run(${CMAKE_COMMAND} --build examples)
run(examples/vornwia_list)
run(examples/vornwia_settings 300)
run(examples/vornwia_scan scanned.bmp)
expect_file(${consumer}/scanned.bmp)

# The installed tool finds its libraries.
run(${prefix}/bin/vornscan --virtual -o tool.bmp)
expect_file(${consumer}/tool.bmp)
expect_file(${prefix}/share/man/man1/vornscan.1)

# The same example through pkg-config.
file(GLOB_RECURSE pc ${prefix}/vornwia.pc)
cmake_path(GET pc PARENT_PATH pc_folder)
run(sh -c "PKG_CONFIG_PATH='${pc_folder}' pkg-config --cflags --libs vornwia >flags")
run(sh -c "eval cc ${sanitizers} -o by-pkg-config example.c $(cat flags)")
