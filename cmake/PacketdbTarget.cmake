# What every target of ours has in common: the language, the include roots, warnings, sanitizers.

add_library(packetdb_common INTERFACE)
target_compile_features(packetdb_common INTERFACE cxx_std_20)
target_compile_options(packetdb_common INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(PACKETDB_WARNINGS_AS_ERRORS)
  target_compile_options(packetdb_common INTERFACE -Werror)
endif()
if(PACKETDB_SANITIZE)
  target_compile_options(packetdb_common INTERFACE
    -fsanitize=${PACKETDB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(packetdb_common INTERFACE -fsanitize=${PACKETDB_SANITIZE})
endif()
if(PACKETDB_COVERAGE)
  # Threads of one process would otherwise spoil each other's counts.
  target_compile_options(packetdb_common INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(packetdb_common INTERFACE --coverage)
endif()

# packetdb_target(NAME): applies the common settings to a target and includes from the root of the
# tree, so that a wrong dependency shows in the include line.
function(packetdb_target name)
  target_link_libraries(${name} PRIVATE packetdb_common)
  target_include_directories(${name} PRIVATE ${packetdb_SOURCE_DIR})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()

# packetdb_test(NAME SOURCES ... LIBRARIES ...): a GoogleTest executable whose cases ctest lists.
function(packetdb_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;ARGS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  packetdb_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock_main)
  # Most of a test's compile time is this header.
  target_precompile_headers(${name} PRIVATE <gmock/gmock.h>)
  gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60)
endfunction()
