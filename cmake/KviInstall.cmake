# cmake --install puts the library, its public headers and a package file for find_package(KVI).
include(CMakePackageConfigHelpers)
install(TARGETS kvi EXPORT KVITargets)
if(MINGW)
  # The compiler's run-time libraries go beside KVI.dll. Linked statically, the library and a host
  # would each have their own, and an exception could not pass from one into the other.
  foreach(runtime IN ITEMS libstdc++-6 libgcc_s_seh-1 libgcc_s_dw2-1 libwinpthread-1)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}.dll
                    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(IS_ABSOLUTE "${runtime}")
      install(FILES "${runtime}" DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
  endforeach()
endif()
# Public is what stands directly in an area's folder.
install(FILES "${PROJECT_SOURCE_DIR}/common/KVI.h" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvi)
foreach(area IN ITEMS foundation data Geom numerics sys fn doc)
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/common/${area}/*.h"
       "${PROJECT_SOURCE_DIR}/common/${area}/*.def")
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvi/${area})
endforeach()
install(EXPORT KVITargets NAMESPACE KVI:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KVI)
install(FILES "${PROJECT_SOURCE_DIR}/cmake/KviStringTable.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/string_table.rc.in"
        "${PROJECT_SOURCE_DIR}/cmake/string_table.cpp.in"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KVI)
install(FILES "${PROJECT_SOURCE_DIR}/host/kvi_messages.strings"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/kvi)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/KVIConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/KVIConfig.cmake"
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KVI
                              PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KVIConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KVIConfig.cmake" "${PROJECT_BINARY_DIR}/KVIConfigVersion.cmake"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KVI)
