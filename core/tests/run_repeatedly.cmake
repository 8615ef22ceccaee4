# Runs PROGRAM RUNS times; fails at the first run that does not exit with 0.
#   cmake -DPROGRAM=<path> -DRUNS=<count> -P run_repeatedly.cmake
foreach(run RANGE 1 ${RUNS})
  execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE status)
  if(NOT status STREQUAL "0")
    message(FATAL_ERROR "run ${run} of ${RUNS}: ${PROGRAM} ended with '${status}'")
  endif()
endforeach()
