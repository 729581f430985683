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
  sane/DriverHost.cpp
  sane/FindScanners.cpp
  sane/FrameReader.cpp
  sane/OptionProperty.cpp
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
  sane/Vocabulary.cpp
  sane/host/Protocol.cpp)
target_include_directories(vorn_wia PRIVATE ${SANE_INCLUDE_DIR})
target_link_libraries(vorn_wia PUBLIC vorn_process)

# The driver host: the only program that calls libsane. It lies beside the libraries, where DriverHost.cpp looks for it.
add_executable(vorn_sane_host
  sane/host/Driver.cpp
  sane/host/PageSender.cpp
  sane/host/Protocol.cpp
  sane/host/Watchdog.cpp
  sane/host/main.cpp)
set_target_properties(vorn_sane_host PROPERTIES
  ENABLE_EXPORTS ON  # what back ends are to find in place of the C library's
  OUTPUT_NAME sane-host RUNTIME_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/vornwia)
target_include_directories(vorn_sane_host PRIVATE ${SANE_INCLUDE_DIR})
target_link_libraries(vorn_sane_host PRIVATE vorn_options vorn_process ${SANE_LIBRARY})
