# What every target of ours has in common: the language, the include roots, warnings, sanitizers.

add_library(packetdb_common INTERFACE)
target_compile_features(packetdb_common INTERFACE cxx_std_20)
target_compile_options(packetdb_common INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(PACKETDB_WARNINGS_AS_ERRORS)
  target_compile_options(packetdb_common INTERFACE -Werror)
endif()
if(PACKETDB_SANITIZE)
  # Without the check of virtual tables: it tries addresses by a pipe, which processes in a sandbox
  # may not make, and then takes every object for a wrong one.
  target_compile_options(packetdb_common INTERFACE
    -fsanitize=${PACKETDB_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(packetdb_common INTERFACE -fsanitize=${PACKETDB_SANITIZE})
endif()
if(PACKETDB_COVERAGE)
  # Threads of one process would otherwise spoil each other's counts.
  target_compile_options(packetdb_common INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(packetdb_common INTERFACE --coverage)
endif()

# packetdb_target(NAME): applies the common settings to a target and includes from the root of the
# tree, so that a wrong dependency shows in the include line. Where the caller has made headers
# (below), the target loads them. Where it has set `packetdb_optimise_shared_only`, others than
# shared libraries are not optimised in Debug builds.
function(packetdb_target name)
  target_link_libraries(${name} PRIVATE packetdb_common)
  target_include_directories(${name} PRIVATE ${packetdb_SOURCE_DIR})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
  get_target_property(type ${name} TYPE)
  if(packetdb_optimise_shared_only AND NOT (type STREQUAL SHARED_LIBRARY OR name MATCHES _shared$))
    target_compile_options(${name} PRIVATE $<$<CONFIG:Debug>:-O0>)
  endif()
  if(PACKETDB_PRECOMPILE AND packetdb_headers)
    if(type STREQUAL SHARED_LIBRARY)
      target_precompile_headers(${name} REUSE_FROM ${packetdb_headers}_shared)
    else()
      target_precompile_headers(${name} REUSE_FROM ${packetdb_headers})
    endif()
    # As the headers were compiled.
    target_compile_definitions(${name} PRIVATE ${packetdb_header_definitions})
  endif()
endfunction()

# packetdb_make_headers(NAME HEADERS...): most of a source's compile time is headers of others. They
# are compiled once, for the targets that are declared where `packetdb_headers` is NAME. What a
# source includes stays its own list, and releases compile it as it stands.
function(packetdb_make_headers name)
  if(NOT PACKETDB_PRECOMPILE)
    return()
  endif()
  set(packetdb_headers "")
  set(empty ${packetdb_BINARY_DIR}/empty.cpp)
  file(CONFIGURE OUTPUT ${empty} CONTENT "")
  foreach(target ${name} ${name}_shared)
    add_library(${target} OBJECT ${empty})
    packetdb_target(${target})
    target_compile_definitions(${target} PRIVATE ${packetdb_header_definitions})
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endforeach()
  set_target_properties(${name}_shared PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()

set(packetdb_common_headers
  <algorithm> <array> <chrono> <cstdint> <cstring> <filesystem> <functional> <map> <memory>
  <optional> <set> <span> <string> <string_view> <system_error> <vector>
  <boost/make_shared.hpp> <boost/shared_ptr.hpp> <fmt/format.h>)
set(packetdb_header_definitions FMT_SHARED)  # what they look at, and their own packages define

# packetdb_test(NAME SOURCES ... LIBRARIES ...): a GoogleTest executable whose cases ctest lists.
function(packetdb_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;ARGS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  packetdb_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock_main)
  gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60)
endfunction()
