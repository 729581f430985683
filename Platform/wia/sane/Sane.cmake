# Real scanners, where there is SANE: its header to build with, its library when the first scanner is looked for.
option(VORN_WITH_SANE "Real scanners through SANE" ON)
if(VORN_WITH_SANE AND NOT WIN32)
  find_path(SANE_INCLUDE_DIR sane/sane.h)
  find_library(SANE_LIBRARY sane)
endif()

if(NOT VORN_WITH_SANE OR NOT SANE_INCLUDE_DIR OR NOT SANE_LIBRARY)
  if(NOT WIN32)
    message(STATUS "SANE not found (libsane-dev): real scanners are left out")
  endif()
  target_sources(vorn_wia PRIVATE NoRealDevices.cpp)
  return()
endif()
set(VORN_HAVE_SANE ON CACHE INTERNAL "Real scanners are built in")

target_sources(vorn_wia PRIVATE
  sane/Area.cpp
  sane/BoundedCall.cpp
  sane/FindScanners.cpp
  sane/FrameInput.cpp
  sane/FrameReader.cpp
  sane/Library.cpp
  sane/OpenDevice.cpp
  sane/OptionProperty.cpp
  sane/PieceQueue.cpp
  sane/ReadAhead.cpp
  sane/RealDevices.cpp
  sane/Samples.cpp
  sane/SaneDevice.cpp
  sane/SanePages.cpp
  sane/Scanner.cpp
  sane/Settings.cpp
  sane/Sources.cpp
  sane/Statuses.cpp
  sane/Text.cpp
  sane/Views.cpp
  sane/Vocabulary.cpp)
target_include_directories(vorn_wia PRIVATE ${SANE_INCLUDE_DIR})

# Beside the libraries, where FindScanners.cpp looks for it.
add_executable(vorn_find_scanners sane/finder/main.cpp)
set_target_properties(vorn_find_scanners PROPERTIES
  OUTPUT_NAME find-scanners RUNTIME_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/vornwia)
target_include_directories(vorn_find_scanners PRIVATE ${SANE_INCLUDE_DIR})
target_link_libraries(vorn_find_scanners PRIVATE vorn_options ${SANE_LIBRARY})
