find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
  configure_file("${PROJECT_SOURCE_DIR}/docs/Doxyfile.in" "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
  add_custom_target(docs COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/Doxyfile"
                    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
endif()
