# What every target of the project shares: language level, warnings, sanitizers, where binaries go.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# A DLL lies beside the programs, under the same name as elsewhere but for the prefix.
if(WIN32)
  set(CMAKE_SHARED_LIBRARY_PREFIX "")
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

set(VORN_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")

add_library(vorn_options INTERFACE)
target_compile_options(vorn_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                       $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Woverloaded-virtual> -Werror)
if(VORN_SANITIZE)
  target_compile_options(vorn_options INTERFACE -fsanitize=${VORN_SANITIZE} -fno-sanitize-recover=all
                         -fno-omit-frame-pointer
                         # The compiler sees uninitialised variables in what it instruments itself.
                         $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(vorn_options INTERFACE -fsanitize=${VORN_SANITIZE})
endif()

if(WIN32)
  target_compile_definitions(vorn_options INTERFACE _WIN32_WINNT=0x0601 UNICODE _UNICODE NOMINMAX)
endif()

# The public types and the platform's declarations.
add_library(vorn_headers INTERFACE)
target_include_directories(vorn_headers INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                           $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/Platform/include>)
