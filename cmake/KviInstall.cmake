# cmake --install puts the library, its public headers and a package file for find_package(KVI).
include(CMakePackageConfigHelpers)
install(TARGETS kvi EXPORT KVITargets)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/common/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvi
        FILES_MATCHING PATTERN "*.h" PATTERN "*.def" PATTERN "*_impl.h" EXCLUDE PATTERN "platform" EXCLUDE)
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
