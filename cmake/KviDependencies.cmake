# What the library links, found the same way for every target.
find_package(Threads REQUIRED)
find_path(KVI_EIGEN_DIR Eigen/Core PATH_SUFFIXES eigen3 REQUIRED)
add_library(kvi_eigen INTERFACE)
# A system include: its own warnings are not ours.
target_include_directories(kvi_eigen SYSTEM INTERFACE "${KVI_EIGEN_DIR}")
target_compile_definitions(kvi_eigen INTERFACE EIGEN_DONT_PARALLELIZE)

# lp_solve has no package file. Debian's archive for shared libraries carries "_pic" in its name and
# leaves the column ordering to SuiteSparse; ours for Windows holds its own.
find_path(KVI_LPSOLVE_DIR lpsolve/lp_lib.h REQUIRED)
find_library(KVI_LPSOLVE NAMES lpsolve55_pic lpsolve55 REQUIRED)
add_library(kvi_lpsolve INTERFACE)
target_include_directories(kvi_lpsolve SYSTEM INTERFACE "${KVI_LPSOLVE_DIR}")
target_link_libraries(kvi_lpsolve INTERFACE "${KVI_LPSOLVE}")
if(WIN32)
  # Its headers go by the name that strict C++ leaves undefined.
  target_compile_definitions(kvi_lpsolve INTERFACE WIN32)
else()
  find_library(KVI_COLAMD colamd REQUIRED)
  target_link_libraries(kvi_lpsolve INTERFACE "${KVI_COLAMD}" ${CMAKE_DL_LIBS})
endif()

# The store of the registry's counterpart.
if(NOT WIN32)
  find_package(SQLite3 REQUIRED)
endif()
