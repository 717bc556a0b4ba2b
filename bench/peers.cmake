# The libraries a user would pick instead, as Debian packages them; scripts/install-deps bench
# fetches them. One line an area.

# Eigen's fixed maps as a user with each of these compiler settings gets them.
add_library(kvi_peer_eigen INTERFACE)
set(flags_baseline "")
set(flags_avx2 -mavx2 -mfma)
set(flags_native -march=native)
foreach(level IN ITEMS baseline avx2 native)
  add_library(kvi_peer_eigen_${level} OBJECT numerics/MxM_peer_levels.cpp)
  target_include_directories(kvi_peer_eigen_${level} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
  target_compile_definitions(kvi_peer_eigen_${level} PRIVATE PEER_LEVEL=${level})
  target_compile_options(kvi_peer_eigen_${level} PRIVATE ${flags_${level}})
  target_link_libraries(kvi_peer_eigen_${level} PRIVATE kvi_eigen)
  target_compile_features(kvi_peer_eigen_${level} PRIVATE cxx_std_20)
  target_sources(kvi_peer_eigen INTERFACE $<TARGET_OBJECTS:kvi_peer_eigen_${level}>)
endforeach()

find_package(spdlog REQUIRED)
find_package(absl REQUIRED)
kvi_bench(foundation LIBS spdlog::spdlog absl::status)
kvi_bench(data)
find_package(MPI REQUIRED COMPONENTS C) # hypre's own need; the benchmarks run one process
add_library(kvi_peer_hypre INTERFACE)
target_include_directories(kvi_peer_hypre SYSTEM INTERFACE /usr/include/hypre)
target_compile_definitions(kvi_peer_hypre INTERFACE OMPI_SKIP_MPICXX MPICH_SKIP_MPICXX)
target_link_libraries(kvi_peer_hypre INTERFACE HYPRE MPI::MPI_C)
add_library(kvi_peer_cholmod INTERFACE)
target_include_directories(kvi_peer_cholmod SYSTEM INTERFACE /usr/include/suitesparse)
target_link_libraries(kvi_peer_cholmod INTERFACE cholmod)

kvi_bench(numerics LIBS kvi_eigen kvi_peer_eigen kvi_peer_hypre xsmm openblas kvi_peer_cholmod)
kvi_bench(fn LIBS kvi_eigen)
# (GCC 12 suspects the undefined registers in its own AVX-512 headers.)
# The peers at their best on this machine; KVI itself is the portable build.
set_source_files_properties(fn/FredXing_fast_peers.cpp PROPERTIES COMPILE_OPTIONS "-Ofast;-march=native")
set_source_files_properties(fn/FredXing_eigen_peer.cpp PROPERTIES COMPILE_OPTIONS "-O3;-march=native;-ffp-contract=fast;-Wno-maybe-uninitialized")

find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(TBB REQUIRED)
kvi_bench(sys LIBS TBB::tbb OpenMP::OpenMP_CXX)

find_package(CGAL REQUIRED)
add_library(kvi_peer_geometry INTERFACE)
target_compile_definitions(kvi_peer_geometry INTERFACE USE_UNSTABLE_GEOS_CPP_API BOOST_ALLOW_DEPRECATED_HEADERS)
target_link_libraries(kvi_peer_geometry INTERFACE CGAL::CGAL geos)
kvi_bench(Geom LIBS kvi_peer_geometry)
# Boost's own headers, in GCC 12's eyes.
set_source_files_properties(Geom/Crossings_bench.cpp Geom/Meetings_bench.cpp Geom/Rings_bench.cpp PROPERTIES
                            COMPILE_OPTIONS -Wno-maybe-uninitialized)

# Python in the program itself, and the library that its module loads.
find_package(Python COMPONENTS Interpreter Development NumPy REQUIRED)
find_package(pybind11 REQUIRED)
add_executable(bench_python python/Arrays_bench.cpp main.cpp)
target_link_libraries(bench_python PRIVATE kvi_compile KVI::kvi pybind11::embed benchmark::benchmark)
target_compile_definitions(bench_python PRIVATE KVI_PYTHON_MODULES="${CMAKE_BINARY_DIR}/python")
add_dependencies(bench_python kvi_python)
kvi_add_string_table(bench_python "${PROJECT_SOURCE_DIR}/host/kvi_messages.strings")

# Whole jobs of the reference engine beside programs; they run as processes of their own.
if(TARGET percova)
  add_executable(bench_percova percova/Job.cpp percova/Percova_bench.cpp main.cpp)
  target_include_directories(bench_percova PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(bench_percova PRIVATE kvi_compile benchmark::benchmark)
  target_compile_definitions(bench_percova PRIVATE KVI_PERCOVA="$<TARGET_FILE:percova>")
  add_dependencies(bench_percova percova)
endif()
