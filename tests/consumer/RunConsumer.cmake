# Installs the library, moves what was installed, and builds programs outside the tree against it.
#   cmake -DBUILD=... -DROOT=... -DGENERATOR=... -DCOMPILER=... [-DTOOLCHAIN=... -DEMULATOR=...]
#         -P RunConsumer.cmake
cmake_minimum_required(VERSION 3.25)

# run(COMMAND ...): its output in the variable output
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
                  ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# expect(REGEX PROGRAM [ARGUMENT ...])
function(expect regex)
  run(${EMULATOR} ${ARGN})
  message("${output}")
  if(NOT output MATCHES "${regex}")
    message(FATAL_ERROR "${ARGN} did not say ${regex}")
  endif()
endfunction()

set(source "${ROOT}/tests/consumer")
set(work "${BUILD}/consumer")
set(moved "${work}/moved")
file(REMOVE_RECURSE "${work}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${work}/installed")
file(RENAME "${work}/installed" "${moved}")

# Nothing that was installed knows the folder that it was built in.
file(GLOB_RECURSE files LIST_DIRECTORIES false "${moved}/*")
foreach(file IN LISTS files)
  file(STRINGS "${file}" paths LIMIT_COUNT 1 REGEX "${ROOT}/|${work}/")
  if(paths)
    message(FATAL_ERROR "${file} holds a path of the build: ${paths}")
  endif()
endforeach()

if(TOOLCHAIN)
  file(GLOB_RECURSE config "${moved}/KVIConfig.cmake") # outside what cross-compilers search
  cmake_path(GET config PARENT_PATH config)
  set(toolchain "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DKVI_DIR=${config}")
  set(ENV{WINEPATH} "${moved}/bin") # the libraries that were installed, and no others
  set(ENV{WINEDEBUG} "-all")
  set(exe .exe)
else()
  set(toolchain "-DCMAKE_CXX_COMPILER=${COMPILER}")
endif()
run(${CMAKE_COMMAND} -S "${source}" -B "${work}/build" -G "${GENERATOR}" ${toolchain}
    -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=${moved}")
run(${CMAKE_COMMAND} --build "${work}/build")
file(GLOB plugins "${work}/build/*north.*" "${work}/build/*south.*")
list(FILTER plugins INCLUDE REGEX "\\.(so|dll)$")
set(texts "greater than 0.*head at half height 2.000 m")
expect("${texts}" "${work}/build/consumer${exe}")
expect("Usage" "${moved}/bin/percova${exe}" --help)
expect("9.901e-07 m3/s per m" "${work}/build/engine${exe}")
expect("north at.*south at.*of both" "${work}/build/host${exe}" ${plugins})
if(TOOLCHAIN)
  return()
endif()

# Without CMake, and without texts of its own: the library's are the same.
set(ENV{PKG_CONFIG_PATH} "${moved}/lib/pkgconfig:${moved}/lib64/pkgconfig")
run(sh -c "${COMPILER} -std=c++20 ${source}/main.cpp -o ${work}/plain $(pkg-config --cflags --libs kvi)")
set(ENV{LD_LIBRARY_PATH} "${moved}/lib:${moved}/lib64")
expect("${texts}" "${work}/plain")

# As a part of the program's own project; scripts/check-style also builds that.
run(${CMAKE_COMMAND} -S "${source}" -B "${work}/part" -G "${GENERATOR}" ${toolchain} "-DKVI_SOURCE=${ROOT}")
