# What every target of the house shares: warnings, sanitizers, and the shape of a room.
include_guard()

add_library(zr_warnings INTERFACE)
target_compile_options(zr_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wnull-dereference -Wformat=2 -Wundef -Werror
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast>
  # GCC 12 sees overlapping copies in sums of std::string that aren't there (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wthread-safety-beta>)

# What the engine and the host are linked as.
set(ZR_LIBRARY SHARED)

if(ZR_SANITIZE)
  # The sanitizers' own parts are in the program alone.
  set(ZR_LIBRARY STATIC)
  add_compile_options(-fsanitize=${ZR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZR_SANITIZE})
  add_compile_definitions(ZR_SANITIZED)
  # The optimiser sees null paths through instrumented code that don't exist.
  target_compile_options(zr_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-null-dereference -Wno-maybe-uninitialized>)
endif()

# zr_headers(NAME HEADERS header... [OPTIONS option...] [LIBRARIES target...])
#
# Headers that are compiled once, with these options, for the targets that name them with zr_reuse. Reading
# them is half of the cost of a test and a third of the others'. This is for the builds with sanitizers
# alone: those of g++ read them for each file, so that a forgotten include is found.
set(ZR_STANDARD_HEADERS <algorithm> <array> <atomic> <chrono> <cmath> <deque> <filesystem> <fstream> <functional>
    <limits> <list> <map> <memory> <optional> <set> <sstream> <string> <string_view> <thread> <unordered_map>
    <utility> <vector>)
function(zr_headers name)
  cmake_parse_arguments(SHARED "" "" "HEADERS;OPTIONS;LIBRARIES" ${ARGN})
  if(NOT ZR_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    return()
  endif()
  file(CONFIGURE OUTPUT ${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF
                        CXX_COMPILER_LAUNCHER ${CMAKE_SOURCE_DIR}/cmake/precompile)
  target_compile_options(${name} PRIVATE ${SHARED_OPTIONS} "SHELL:-Xclang -fno-pch-timestamp")
  target_link_libraries(${name} PRIVATE ${SHARED_LIBRARIES})
  target_precompile_headers(${name} PRIVATE ${SHARED_HEADERS})
endfunction()

# zr_reuse(TARGET NAME): the target reads these headers first, if this build has them.
function(zr_reuse target name)
  if(TARGET ${name})
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # As CMake has it, but in words of which ccache knows that they name a file.
  set(CMAKE_CXX_COMPILE_OPTIONS_USE_PCH -include-pch <PCH_FILE>)
endif()

if(ZR_FUZZ)
  # Coverage for libFuzzer in every room.
  set(ZR_ROOM_OPTIONS -fsanitize=fuzzer-no-link)
endif()
zr_headers(zr_roomheaders OPTIONS -fPIC ${ZR_ROOM_OPTIONS} HEADERS ${ZR_STANDARD_HEADERS})

# zr_room(NAME [LOWER room...] [LIBRARIES third-party target...] [OPTIONS option...])
#
# The room of this folder: a static library `zr_NAME` of every source in it (folders below
# included), that sees the headers of motor/ and links the lower rooms that it may call.
# Third-party libraries are linked privately: no header of a room names them.
function(zr_room name)
  cmake_parse_arguments(ROOM "" "" "LOWER;LIBRARIES;OPTIONS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    add_library(zr_${name} INTERFACE)
    target_include_directories(zr_${name} INTERFACE ${CMAKE_SOURCE_DIR}/motor)
    list(TRANSFORM ROOM_LOWER PREPEND zr_)
    target_link_libraries(zr_${name} INTERFACE ${ROOM_LOWER})
    return()
  endif()
  add_library(zr_${name} STATIC ${sources})
  target_include_directories(zr_${name} PUBLIC ${CMAKE_SOURCE_DIR}/motor)
  list(TRANSFORM ROOM_LOWER PREPEND zr_)
  target_link_libraries(zr_${name} PUBLIC ${ROOM_LOWER} PRIVATE zr_warnings ${ROOM_LIBRARIES})
  target_compile_options(zr_${name} PRIVATE ${ZR_ROOM_OPTIONS} ${ROOM_OPTIONS})
  if(ROOM_OPTIONS)
    zr_headers(zr_${name}headers OPTIONS -fPIC ${ZR_ROOM_OPTIONS} ${ROOM_OPTIONS} HEADERS ${ZR_STANDARD_HEADERS})
    zr_reuse(zr_${name} zr_${name}headers)
  else()
    zr_reuse(zr_${name} zr_roomheaders)
  endif()
endfunction()

# zr_test(NAME [LABEL label] [LINK target...])
#
# One test program of every *_test.cpp in this folder. One of unit tests runs as it is, since thousands of
# starts cost more than the tests; each test of another one is a process of its own.
function(zr_test name)
  cmake_parse_arguments(TEST "" "LABEL;TIMEOUT" "LINK" ${ARGN})
  if(NOT TEST_LABEL)
    set(TEST_LABEL unit)
  endif()
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 60)
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  # Optimised or not is a question to the house: its tests needn't be.
  target_compile_options(${name} PRIVATE -O0)
  target_link_libraries(${name} PRIVATE zr_warnings ${TEST_LINK} zr_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  zr_reuse(${name} zr_testheaders)
  if(TEST_LABEL STREQUAL peer AND NOT ZR_PEER_TESTS)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  if(TEST_LABEL STREQUAL unit)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 LABELS unit)
    return()
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS ${TEST_LABEL})
endfunction()
