# Runs one test program and believes it only with its closing line: a program that could not start
# (a 64-bit one under a 32-bit Wine, say) prints nothing and still exits with 0.
#   cmake -DPROGRAM=... [-DEMULATOR=...] [-DPATHS=...] [-DARGUMENTS=...] -P RunTest.cmake
if(PATHS)
  list(JOIN PATHS ";" joined)
  set(ENV{WINEPATH} "${joined}")
  set(ENV{WINEDEBUG} "-all")
endif()
execute_process(COMMAND ${EMULATOR} "${PROGRAM}" ${ARGUMENTS} --gtest_color=no
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output ECHO_OUTPUT_VARIABLE)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM}: exit ${result}")
endif()
if(NOT output MATCHES "\\[  PASSED  \\] [1-9][0-9]* tests?\\.")
  message(FATAL_ERROR "${PROGRAM}: no closing line, so no test ran")
endif()
