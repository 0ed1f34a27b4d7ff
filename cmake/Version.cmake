# The revision that --version prints beside the project's version.
find_package(Git QUIET)
set(ORV_REVISION "unknown")
if(GIT_FOUND)
  execute_process(COMMAND "${GIT_EXECUTABLE}" -C "${CMAKE_SOURCE_DIR}" rev-parse --short=12 HEAD
                  OUTPUT_VARIABLE ORV_REVISION OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE _orv_git)
  if(NOT _orv_git EQUAL 0)
    set(ORV_REVISION "unknown")
  endif()
endif()
