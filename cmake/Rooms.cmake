# Rooms: one library target per top-level folder.
#
# A room's headers are reachable only through its own include root, so an
# include of a room that is not in the link list does not compile. Rooms whose
# headers are written with the room's name ("OrvSdkRpc/server/Agent.h") get an
# include root of their own in the build tree that holds one link to the room.

set(ORV_WARNINGS -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  list(APPEND ORV_WARNINGS -Wthread-safety)
endif()

add_library(orv_build_options INTERFACE)
target_compile_options(orv_build_options INTERFACE ${ORV_WARNINGS})
if(ORV_SANITIZE STREQUAL "address")
  set(_orv_sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
elseif(ORV_SANITIZE STREQUAL "thread")
  set(_orv_sanitize -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT ORV_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ORV_SANITIZE is '${ORV_SANITIZE}', expected address, thread or nothing")
endif()
if(_orv_sanitize)
  # Everything of ours, the generated code included, so that no object is built without.
  add_compile_options(${_orv_sanitize})
  add_link_options(${_orv_sanitize})
  # gcc's flow warnings are unreliable in instrumented code; clang does not know this one.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(orv_build_options INTERFACE -Wno-error=maybe-uninitialized)
  endif()
endif()

# orv_room_include_root(<out-var> <folder>): an include root from which
# "<folder>/..." resolves to the source folder of that name and nothing else.
function(orv_room_include_root out folder)
  set(root "${CMAKE_BINARY_DIR}/rooms/${folder}")
  file(MAKE_DIRECTORY "${root}")
  if(NOT EXISTS "${root}/${folder}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${folder}" "${root}/${folder}" SYMBOLIC)
  endif()
  set(${out} "${root}" PARENT_SCOPE)
endfunction()

# orv_add_room(<target> INCLUDE_ROOT <dir> SOURCES ... [PUBLIC ...] [PRIVATE ...])
# PUBLIC lists what the room's own headers include, PRIVATE what only its sources do.
function(orv_add_room target)
  cmake_parse_arguments(R "" "INCLUDE_ROOT" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  if(R_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "orv_add_room(${target}): unexpected ${R_UNPARSED_ARGUMENTS}")
  endif()
  add_library(${target} STATIC ${R_SOURCES})
  add_library(Orv::${target} ALIAS ${target})
  target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${R_INCLUDE_ROOT}>")
  target_link_libraries(${target} PUBLIC ${R_PUBLIC} PRIVATE ${R_PRIVATE} $<BUILD_INTERFACE:orv_build_options>)
endfunction()

# orv_add_program(<target> SOURCES ... LINK ...): a program in build/bin.
function(orv_add_program target)
  cmake_parse_arguments(P "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${target} ${P_SOURCES})
  target_link_libraries(${target} PRIVATE ${P_LINK} orv_build_options)
endfunction()

# orv_add_test(<target> [ALONE] SOURCES ... LINK ... [TIMEOUT seconds] [LABELS ...])
# Every TEST() becomes a ctest case of its own. ALONE: no other test runs meanwhile, for those that measure time.
function(orv_add_test target)
  cmake_parse_arguments(T "ALONE" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  add_executable(${target} ${T_SOURCES})
  target_link_libraries(${target} PRIVATE ${T_LINK} GTest::gmock GTest::gtest_main orv_build_options)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 60)
  endif()
  gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES
                       TIMEOUT ${T_TIMEOUT} RUN_SERIAL ${T_ALONE} LABELS "${T_LABELS}")
endfunction()

# orv_add_busy_test(<target> FILTER <suite.case>...)
# Runs the given tests of a program once more, all in one process, with the machine made busy on purpose: waits and
# wake-ups must work when every thread loses its processor at the worst moment. The patterns are GoogleTest's; one that
# begins with "-" and all after it leave tests out: those that assert a measured time, which a busy machine does not keep.
function(orv_add_busy_test target)
  cmake_parse_arguments(B "" "" "FILTER" ${ARGN})
  list(JOIN B_FILTER ":" filter)
  add_test(NAME busy.${target} COMMAND run_busy $<TARGET_FILE:${target}> --gtest_filter=${filter} --gtest_brief=1)
  set_tests_properties(busy.${target} PROPERTIES TIMEOUT 600 RUN_SERIAL TRUE LABELS busy)
endfunction()
