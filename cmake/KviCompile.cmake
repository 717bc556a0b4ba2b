# One interface target with the flags that every source of the project is compiled with.
add_library(kvi_compile INTERFACE)
target_compile_features(kvi_compile INTERFACE cxx_std_20)
target_compile_options(kvi_compile INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  # The same bits on every target: no fused multiply-add unless a solver asks for it by name.
  -ffp-contract=off
  # No path of the build machine in the binaries.
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlapping copies in its own std::string (GCC bug 105651).
  target_compile_options(kvi_compile INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # GCC's -Wconversion leaves this out, and so do we: an index that is an int is one on purpose.
  target_compile_options(kvi_compile INTERFACE -Wno-sign-conversion)
endif()
if(KVI_WERROR)
  target_compile_options(kvi_compile INTERFACE -Werror)
endif()
if(WIN32)
  target_compile_definitions(kvi_compile INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Doubles in SSE registers, not in the wider x87 ones; callers of ours keep only 4-byte stacks.
    target_compile_options(kvi_compile INTERFACE -msse2 -mfpmath=sse -mstackrealign)
  endif()
endif()
if(KVI_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # With the sanitizers' checks between, GCC loses sight of what its own headers initialise.
  target_compile_options(kvi_compile INTERFACE -Wno-maybe-uninitialized)
endif()
foreach(sanitizer IN LISTS KVI_SANITIZE)
  target_compile_options(kvi_compile INTERFACE -fsanitize=${sanitizer} -fno-omit-frame-pointer
                         -fno-sanitize-recover=all)
  target_link_options(kvi_compile INTERFACE -fsanitize=${sanitizer})
endforeach()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Programs and the library side by side, so that Windows finds the DLL.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# Processor levels of the vector sources: each *_simd.cpp is compiled once per level, with
# KVI_SIMD naming the level's namespace, and the level is chosen when the library loads.
set(KVI_SIMD_LEVELS sse2 avx2 avx512)
set(KVI_SIMD_FLAGS_sse2 -msse2)
set(KVI_SIMD_FLAGS_avx2 -mavx2 -mfma)
set(KVI_SIMD_FLAGS_avx512 -mavx512f -mavx512vl -mavx512dq -mavx512bw -mfma
    -mprefer-vector-width=512)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # GCC 12 suspects the undefined registers in its own AVX-512 headers.
  list(APPEND KVI_SIMD_FLAGS_avx512 -Wno-uninitialized -Wno-maybe-uninitialized)
endif()
if(WIN32)
  # GCC does not align the stack for wide registers on Windows; unaligned moves are always right.
  foreach(level avx2 avx512)
    list(APPEND KVI_SIMD_FLAGS_${level} -Wa,-muse-unaligned-vector-move)
  endforeach()
endif()
