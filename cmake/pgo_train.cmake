# Runs the instrumented engine on the training workload and marks the
# profile as written. Called by the build (cmake -P) with ORVO, DATA, STAMP
# and WORK set. The workload is the benchmark: the search's "bench" (depth
# 7: every search path, a few seconds) and perft through the xboard side
# from the start position and Kiwipete (move generation, make and unmake).

# Nothing to do when this executable has been trained already: the
# profile, and everything compiled with it, stays as it is.
if(EXISTS ${STAMP} AND NOT ${ORVO} IS_NEWER_THAN ${STAMP})
  return()
endif()

# A profile left by an earlier executable would not match this one.
file(REMOVE_RECURSE ${DATA})
file(MAKE_DIRECTORY ${DATA} ${WORK})

execute_process(COMMAND ${ORVO} bench 7 WORKING_DIRECTORY ${WORK}
                INPUT_FILE /dev/null OUTPUT_QUIET ERROR_QUIET RESULT_VARIABLE bench_result)
if(NOT bench_result EQUAL 0)
  message(FATAL_ERROR "profile training: '${ORVO} bench 7' failed (${bench_result})")
endif()

set(kiwipete "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1")
file(WRITE ${WORK}/perft.in "xboard\nprotover 2\nnew\nperft 5\nsetboard ${kiwipete}\nperft 4\nquit\n")
execute_process(COMMAND ${ORVO} WORKING_DIRECTORY ${WORK}
                INPUT_FILE ${WORK}/perft.in OUTPUT_VARIABLE perft_output ERROR_QUIET
                RESULT_VARIABLE perft_result)
if(NOT perft_result EQUAL 0 OR NOT perft_output MATCHES "4865609" OR NOT perft_output MATCHES "4085603")
  message(FATAL_ERROR "profile training: perft through xboard failed (${perft_result})")
endif()

file(TOUCH ${STAMP})
