# A short smoke run of one libFuzzer program, from CTest:
#   cmake -DFUZZER=<program> [-DSEEDS=<seed dir>] -DSCRATCH=<dir> -P FuzzSmoke.cmake
# libFuzzer adds the inputs it finds to its first corpus directory, so that is
# an emptied scratch directory: the seeds stay as generated and every run
# starts from the same corpus.
file(REMOVE_RECURSE ${SCRATCH})
file(MAKE_DIRECTORY ${SCRATCH})
execute_process(COMMAND ${FUZZER} -runs=20000 -max_total_time=20 -seed=1 ${SCRATCH} ${SEEDS}
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${FUZZER} failed: ${result}")
endif()
