# Dependencies of the Windows cross build. Debian packages none of them for mingw-w64, so:
# - the header-only JSON and command-line libraries come from their Debian packages' headers,
#   seen through a directory of links that holds nothing else (/usr/include itself would put the
#   host's C library in front of mingw-w64's);
# - GoogleTest is built from the sources that libgtest-dev ships, with the cross compiler.
set(KETRA_HOST_HEADERS ${CMAKE_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${KETRA_HOST_HEADERS})
foreach(dir nlohmann CLI)
  if(NOT EXISTS /usr/include/${dir})
    message(FATAL_ERROR "/usr/include/${dir} is missing: install nlohmann-json3-dev and libcli11-dev")
  endif()
  file(CREATE_LINK /usr/include/${dir} ${KETRA_HOST_HEADERS}/${dir} SYMBOLIC)
endforeach()
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
set_target_properties(nlohmann_json::nlohmann_json PROPERTIES
                      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${KETRA_HOST_HEADERS}
                      INTERFACE_INCLUDE_DIRECTORIES ${KETRA_HOST_HEADERS})
add_library(CLI11::CLI11 INTERFACE IMPORTED)
set_target_properties(CLI11::CLI11 PROPERTIES
                      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${KETRA_HOST_HEADERS}
                      INTERFACE_INCLUDE_DIRECTORIES ${KETRA_HOST_HEADERS})

set(KETRA_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources (libgtest-dev)")
if(NOT EXISTS ${KETRA_GTEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "${KETRA_GTEST_SOURCE} is missing: install libgtest-dev and libgmock-dev")
endif()
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
add_subdirectory(${KETRA_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
# GoogleTest names its targets GTest::gtest, GTest::gmock, ... itself. Our warnings are not its
# business.
foreach(lib gtest gtest_main gmock gmock_main)
  target_compile_options(${lib} PRIVATE -w)
endforeach()

# Every program stands alone: the C and C++ runtimes and winpthreads are linked in.
add_link_options(-static)
