# cmake --install puts the library, its public headers, percova, and package files for
# find_package(KVI) and pkg-config. Components: runtime, development, tools, documentation.
include(CMakePackageConfigHelpers)
set(kvi_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KVI)
install(TARGETS kvi EXPORT KVITargets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
if(MINGW)
  # The compiler's run-time libraries go beside KVI.dll. Linked statically, the library and a host
  # would each have their own, and an exception could not pass from one into the other.
  foreach(runtime IN ITEMS libstdc++-6 libgcc_s_seh-1 libgcc_s_dw2-1 libwinpthread-1)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}.dll
                    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(IS_ABSOLUTE "${runtime}")
      install(FILES "${runtime}" DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    endif()
  endforeach()
endif()
if(NOT BUILD_SHARED_LIBS)
  # What an archive was built from has to be named to those who link it.
  install(TARGETS kvi_lpsolve EXPORT KVITargets)
endif()

# Public is what stands directly in an area's folder.
install(FILES "${PROJECT_SOURCE_DIR}/common/KVI.h" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvi
        COMPONENT development)
foreach(area IN ITEMS foundation data Geom numerics sys fn doc)
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/common/${area}/*.h"
       "${PROJECT_SOURCE_DIR}/common/${area}/*.def")
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvi/${area} COMPONENT development)
endforeach()

install(EXPORT KVITargets NAMESPACE KVI:: DESTINATION ${kvi_cmake_dir} COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/cmake/KviStringTable.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/string_table.rc.in"
        "${PROJECT_SOURCE_DIR}/cmake/string_table.cpp.in"
        DESTINATION ${kvi_cmake_dir} COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/host/kvi_messages.strings"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/kvi COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/KVIConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/KVIConfig.cmake"
                              INSTALL_DESTINATION ${kvi_cmake_dir} PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KVIConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KVIConfig.cmake" "${PROJECT_BINARY_DIR}/KVIConfigVersion.cmake"
        DESTINATION ${kvi_cmake_dir} COMPONENT development)

# An archive needs what it was built from when a program links it; a shared library holds it.
set(kvi_pc_cflags "")
set(kvi_pc_private "-pthread")
if(NOT BUILD_SHARED_LIBS)
  set(kvi_pc_cflags " -DKVI_STATIC")
endif()
if(NOT WIN32)
  string(APPEND kvi_pc_private " ${KVI_LPSOLVE} ${KVI_COLAMD} -lsqlite3 -ldl -lstdc++ -lm")
endif()
string(REGEX REPLACE "[^/]+" ".." kvi_pc_up "${CMAKE_INSTALL_LIBDIR}/pkgconfig") # lib may have parts
configure_file("${PROJECT_SOURCE_DIR}/cmake/kvi.pc.in" "${PROJECT_BINARY_DIR}/kvi.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kvi.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

if(TARGET percova)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr") # where the system itself looks
    set_target_properties(percova PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
  install(TARGETS percova RUNTIME COMPONENT tools)
  # A case to begin with.
  set(cases "${PROJECT_SOURCE_DIR}/examples/percova/cases")
  install(FILES "${cases}/U1-dam.problem.json" "${cases}/mesh/U1-dam.geo" "${cases}/mesh/U1-dam.q8.v41.msh"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/kvi/dam COMPONENT tools)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/percova/worked"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/kvi COMPONENT tools)
endif()
# Laid out as here, so that their links lead somewhere.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md NOTICE.md SECURITY.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
install(FILES examples/notebooks/dam.ipynb DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/notebooks
        COMPONENT documentation)
set(lgpl /usr/share/common-licenses/LGPL-2.1)
if(WIN32 AND EXISTS ${lgpl}) # on Debian the system has it
  install(FILES NOTICE.md ${lgpl} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
endif()
