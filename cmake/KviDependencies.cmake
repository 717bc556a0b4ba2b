# What the library links, found the same way for every target.
find_package(TBB REQUIRED CONFIG)
find_package(Threads REQUIRED)
find_path(KVI_EIGEN_DIR Eigen/Core PATH_SUFFIXES eigen3 REQUIRED)
add_library(kvi_eigen INTERFACE)
# A system include: its own warnings are not ours.
target_include_directories(kvi_eigen SYSTEM INTERFACE "${KVI_EIGEN_DIR}")
target_compile_definitions(kvi_eigen INTERFACE EIGEN_DONT_PARALLELIZE)
