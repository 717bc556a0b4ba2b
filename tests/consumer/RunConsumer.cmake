# Installs the library into a folder of the build and builds a program outside the tree against it.
#   cmake -DBUILD=... -DSOURCE=... -DGENERATOR=... -DCOMPILER=... -P RunConsumer.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

set(work "${BUILD}/consumer")
file(REMOVE_RECURSE "${work}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${work}/installed")
run(${CMAKE_COMMAND} -S "${SOURCE}" -B "${work}/build" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_PREFIX_PATH=${work}/installed")
run(${CMAKE_COMMAND} --build "${work}/build")
run("${work}/build/consumer")
message("${output}")
if(NOT output MATCHES "greater than 0" OR NOT output MATCHES "head at half height 2.000 m")
  message(FATAL_ERROR "not what the program should say")
endif()
run("${work}/build/engine")
message("${output}")
if(NOT output MATCHES "9.901e-07 m3/s per m")
  message(FATAL_ERROR "not what the engine should say")
endif()
