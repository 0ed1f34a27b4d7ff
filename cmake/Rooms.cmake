# Functions that define rooms, floors, programs and tests.
#
# A room is a top-level folder and one library target. A large room has floors: its subfolders, each of which
# is an object library.
#
# The headers of a room or floor are reachable only through its include root, so including a header of a room
# that is not linked does not compile. An include root holds a symbolic link to the folder, because include
# paths begin with the room's name ("OrvSdkRpc/server/GrpcServer.h").

set(ORV_WARNINGS -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  list(APPEND ORV_WARNINGS -Wthread-safety)
endif()

add_library(orv_build_options INTERFACE)
target_compile_options(orv_build_options INTERFACE ${ORV_WARNINGS})
target_compile_options(orv_build_options INTERFACE -pthread)

# There are many test sources, and their speed matters little: at -O1 gcc takes a third of the time.
set(ORV_TEST_OPTIONS -O1)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # At -O1, gcc 12 wrongly reports out-of-bounds copies of short strings.
  list(APPEND ORV_TEST_OPTIONS -Wno-array-bounds -Wno-stringop-overflow -Wno-restrict)
endif()
if(ORV_SANITIZE STREQUAL "address")
  set(_orv_sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(ORV_SANITIZE STREQUAL "thread")
  set(_orv_sanitize -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT ORV_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ORV_SANITIZE is '${ORV_SANITIZE}', expected address, thread or nothing")
endif()
if(_orv_sanitize)
  # Applies to all our code, including generated code, so that every object is instrumented.
  add_compile_options(${_orv_sanitize})
  add_link_options(${_orv_sanitize})
  # gcc's flow-based warnings are unreliable in instrumented code; clang does not have this warning.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(orv_build_options INTERFACE -Wno-error=maybe-uninitialized)
  endif()
endif()

# _orv_include_root(<out-var> <name> <path>...)
# Creates the include root build/rooms/<name>, in which only the given folders and headers of the source tree
# resolve.
function(_orv_include_root out name)
  set(root "${CMAKE_BINARY_DIR}/rooms/${name}")
  foreach(path ${ARGN})
    cmake_path(GET path PARENT_PATH parent)
    file(MAKE_DIRECTORY "${root}/${parent}")
    if(NOT EXISTS "${root}/${path}")
      file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${path}" "${root}/${path}" SYMBOLIC)
    endif()
  endforeach()
  set(${out} "${root}" PARENT_SCOPE)
endfunction()

# orv_add_floor(<room> <folder> SOURCES ... [HEADERS ...] [PUBLIC ...] [PRIVATE ...] [PCH <target>])
# Creates the object library <room>_<folder> from the sources in <folder>. PUBLIC lists the floors and
# libraries that its headers include, PRIVATE those that only its sources include. HEADERS lists single
# headers in place of the whole folder, for a floor whose files are in the room's own folder. PCH is a target
# of cmake/PrecompiledHeaders.cmake.
function(orv_add_floor room folder)
  cmake_parse_arguments(F "" "PCH" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
  if(F_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "orv_add_floor(${room} ${folder}): unexpected ${F_UNPARSED_ARGUMENTS}")
  endif()
  set(target "${room}_${folder}")
  if(F_HEADERS)
    list(TRANSFORM F_HEADERS PREPEND "${room}/")
    _orv_include_root(root ${target} ${F_HEADERS})
  else()
    _orv_include_root(root ${target} "${room}/${folder}")
    list(TRANSFORM F_SOURCES PREPEND "${folder}/")
  endif()
  add_library(${target} OBJECT ${F_SOURCES})
  target_include_directories(${target} PUBLIC "${root}")
  target_link_libraries(${target} PUBLIC ${F_PUBLIC} PRIVATE ${F_PRIVATE} orv_build_options)
  if(F_PCH)
    target_precompile_headers(${target} REUSE_FROM ${F_PCH})
  endif()
endfunction()

# orv_add_room(<target> [SOURCES ...] [FLOORS ...] [INCLUDE_ROOT <dir>] [PUBLIC ...] [PRIVATE ...] [PCH <target>])
# Creates the room's library from its own sources and its floors. PUBLIC lists what the room's own headers
# include, PRIVATE what only its sources include. Without INCLUDE_ROOT, include paths begin with the folder's
# name.
function(orv_add_room target)
  cmake_parse_arguments(R "" "INCLUDE_ROOT;PCH" "SOURCES;FLOORS;PUBLIC;PRIVATE" ${ARGN})
  if(R_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "orv_add_room(${target}): unexpected ${R_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT R_INCLUDE_ROOT)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${CMAKE_SOURCE_DIR}" OUTPUT_VARIABLE folder)
    _orv_include_root(R_INCLUDE_ROOT ${target} "${folder}")
  endif()
  foreach(floor ${R_FLOORS})
    list(APPEND R_SOURCES $<TARGET_OBJECTS:${target}_${floor}>)
  endforeach()
  add_library(${target} STATIC ${R_SOURCES})
  add_library(Orv::${target} ALIAS ${target})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${R_INCLUDE_ROOT}>")
  target_link_libraries(${target} PUBLIC ${R_PUBLIC} PRIVATE ${R_PRIVATE} $<BUILD_INTERFACE:orv_build_options>)
  if(R_PCH)
    target_precompile_headers(${target} REUSE_FROM ${R_PCH})
  endif()
endfunction()

# orv_add_program(<target> SOURCES ... LINK ...): a program in build/bin.
function(orv_add_program target)
  cmake_parse_arguments(P "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${target} ${P_SOURCES})
  target_link_libraries(${target} PRIVATE ${P_LINK} orv_build_options)
endfunction()

# orv_add_test(<target> [ALONE] SOURCES ... LINK ... [PCH <target>] [TIMEOUT seconds] [LABELS ...])
# Every TEST() becomes its own ctest case. SOURCES may be patterns ("mirror/*.cpp"), so that a new test is built without
# being listed. ALONE runs the test without others in parallel, for tests that measure time.
function(orv_add_test target)
  cmake_parse_arguments(T "ALONE" "PCH;TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${T_SOURCES})
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE ${T_LINK} fmt::fmt GTest::gmock GTest::gtest_main orv_build_options)
  target_compile_options(${target} PRIVATE ${ORV_TEST_OPTIONS})
  if(NOT T_PCH)
    set(T_PCH orv_pch_test)
  endif()
  target_precompile_headers(${target} REUSE_FROM ${T_PCH})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 60)
  endif()
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES
                       TIMEOUT ${T_TIMEOUT} RUN_SERIAL ${T_ALONE} LABELS "${T_LABELS}")
endfunction()

# orv_add_busy_test(<target> FILTER <suite.case>...)
# Runs the given tests again, all in one process, on a deliberately overloaded machine: waits and wake-ups
# must work even if every thread is preempted at the worst moment. FILTER takes GoogleTest patterns; a pattern
# that begins with "-" and all patterns after it exclude tests, such as those that assert measured times.
function(orv_add_busy_test target)
  cmake_parse_arguments(B "" "" "FILTER" ${ARGN})
  list(JOIN B_FILTER ":" filter)
  add_test(NAME busy.${target} COMMAND run_busy $<TARGET_FILE:${target}> --gtest_filter=${filter} --gtest_brief=1)
  set_tests_properties(busy.${target} PROPERTIES TIMEOUT 600 RUN_SERIAL TRUE LABELS busy)
endfunction()
