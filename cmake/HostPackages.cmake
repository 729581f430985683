# For a build for another system: the packages of this machine that are headers or sources, and so fit every system.

# vorn_headers_of(TARGET HEADERS): TARGET finds the header folder HEADERS of /usr/include, and nothing else there.
function(vorn_headers_of target headers)
  find_path(${headers}_parent ${headers} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(folder ${PROJECT_BINARY_DIR}/host/${headers})
  file(MAKE_DIRECTORY ${folder})
  file(CREATE_LINK ${${headers}_parent}/${headers} ${folder}/${headers} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${folder})
endfunction()

vorn_headers_of(CLI11::CLI11 CLI)
vorn_headers_of(nlohmann_json::nlohmann_json nlohmann)
set(CLI11_FOUND ON)

# The codecs' libraries for this system. What static ones need in turn is not told by those who find them.
set(codecs ${PROJECT_SOURCE_DIR}/build/mingw-libs)
if(NOT EXISTS ${codecs}/stamp)
  message(FATAL_ERROR "The image codecs for Windows are not built: run cmake/mingw-libs.sh build/mingw-libs first.")
endif()
find_package(ZLIB REQUIRED)
find_package(JPEG REQUIRED)
find_package(TIFF REQUIRED)
set_property(TARGET TIFF::TIFF APPEND PROPERTY INTERFACE_LINK_LIBRARIES JPEG::JPEG ZLIB::ZLIB)

if(VORN_BUILD_TESTS)
  find_path(googletest_sources googletest/CMakeLists.txt PATHS /usr/src/googletest
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(BUILD_GMOCK OFF)
  set(INSTALL_GTEST OFF)
  add_subdirectory(${googletest_sources} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
