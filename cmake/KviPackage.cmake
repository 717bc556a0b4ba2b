# cpack -G DEB, TGZ or ZIP; scripts/package makes and tries them all.
set(CPACK_PACKAGE_NAME kvi)
set(CPACK_PACKAGE_VENDOR KVI)
set(KVI_PACKAGER "KVI packages <kvi@example.org>" CACHE STRING "Whom packages name as their maintainer")
set(CPACK_PACKAGE_CONTACT "${KVI_PACKAGER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_README "${PROJECT_SOURCE_DIR}/README.md")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(kvi_target linux-${CMAKE_SYSTEM_PROCESSOR})
if(WIN32)
  set(kvi_target windows-x86_64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(kvi_target windows-i686)
  endif()
endif()
set(CPACK_PACKAGE_FILE_NAME kvi-${PROJECT_VERSION}-${kvi_target})

# Debian: the package of the library is named after its soname, so that 0.1 and 0.2 can be side by side.
get_target_property(soversion kvi SOVERSION)
set(kvi_deb_runtime libkvi${soversion})
set(kvi_deb_development libkvi-dev)
set(kvi_deb_tools kvi-tools)
set(kvi_deb_documentation libkvi-doc)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${kvi_deb_runtime} (= ${PROJECT_VERSION}-1), g++ (>= 4:12)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${kvi_deb_runtime} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}: the library
 Statuses and messages, parameter tables and their catalogue, soil functions,
 plane geometry, element kernels and sparse systems of equations, threads,
 files and settings.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION}: development files
 Headers, CMake and pkg-config files and message texts for programs that use
 the library KVI.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Seepage analysis by finite elements
 percova analyses saturated and unsaturated seepage in a section, and writes
 numbers, files for ParaView and a picture of the heads.")
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "${PROJECT_DESCRIPTION}: documents
 A guide for authors of analysis engines, changes, and third-party notices.")
set(CPACK_COMPONENTS_ALL runtime development tools documentation)
if(TARGET kvi_python)
  set(kvi_deb_python python3-kvi)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "${kvi_deb_runtime} (= ${PROJECT_VERSION}-1), python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "${kvi_deb_tools}, python3-pandas")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "${PROJECT_DESCRIPTION}: Python module
 Tables and their catalogue, water-content curves, systems of equations, plane
 geometry, seepage analyses and studies of many variants, with numpy arrays.")
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
if(TARGET kvi_mumps)
  set(kvi_deb_mumps kvi-mumps)
  set(CPACK_DEBIAN_MUMPS_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_MUMPS_PACKAGE_DEPENDS "${kvi_deb_runtime} (= ${PROJECT_VERSION}-1)")
  set(CPACK_DEBIAN_MUMPS_PACKAGE_RECOMMENDS "openmpi-bin")
  set(CPACK_COMPONENT_MUMPS_DESCRIPTION "${PROJECT_DESCRIPTION}: solver over processes
 Systems of equations whose factor outgrows the memory of one machine are
 solved by MUMPS over MPI: KVI_SOLVER=mumps, and kvi-solver-node on the others.")
  list(APPEND CPACK_COMPONENTS_ALL mumps)
endif()
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${kvi_deb_${component}})
endforeach()
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND NOT WIN32)
  # What Debian wants beside every package.
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE "${PROJECT_BINARY_DIR}/changelog" "kvi (${PROJECT_VERSION}-1) unstable; urgency=medium

  * See CHANGELOG.md in libkvi-doc.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  file(WRITE "${PROJECT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/triggers")
  set(CPACK_DEBIAN_MUMPS_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/triggers")
  file(READ NOTICE.md notice)
  file(WRITE "${PROJECT_BINARY_DIR}/copyright" "${notice}
On Debian systems the texts of these licences are in /usr/share/common-licenses: LGPL-2.1, GPL-3, MPL-2.0.
")
  execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" COMMAND_ERROR_IS_FATAL ANY)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(doc ${CMAKE_INSTALL_DATADIR}/doc/${kvi_deb_${component}})
    install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" RENAME changelog.Debian.gz
            DESTINATION ${doc} COMPONENT ${component})
    install(FILES "${PROJECT_BINARY_DIR}/copyright" DESTINATION ${doc} COMPONENT ${component})
  endforeach()
endif()
include(CPack)
