set(KVI_STRING_TABLE_TEMPLATES "${CMAKE_CURRENT_LIST_DIR}" CACHE INTERNAL "")

# kvi_add_string_table(<program> <file.strings> ...)
#
# Gives a program, or a library of its own (MODULE, SHARED), its message texts: a STRINGTABLE resource
# on Windows, an exported sorted table elsewhere. A second call adds to the first. A .strings file has one KVI_TEXT(code, "text") a line, in the escapes that C++ and the
# resource compiler share: \n \r \t \\ \042 for a double quote, \x with four digits. Codes are 1 to 65535; a code
# that occurs twice does not compile (Linux) or link (Windows).
function(kvi_add_string_table program)
  get_target_property(includes ${program} KVI_STRING_INCLUDES)
  if(NOT includes)
    set(includes "")
  endif()
  foreach(file IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
    string(APPEND includes "#include \"${file}\"\n")
    set_property(SOURCE "${CMAKE_CURRENT_BINARY_DIR}/${program}_strings.rc"
                 APPEND PROPERTY OBJECT_DEPENDS "${file}")
  endforeach()
  set_target_properties(${program} PROPERTIES KVI_STRING_INCLUDES "${includes}")
  set(KVI_STRING_INCLUDES "${includes}")
  if(WIN32)
    configure_file("${KVI_STRING_TABLE_TEMPLATES}/string_table.rc.in"
                   "${CMAKE_CURRENT_BINARY_DIR}/${program}_strings.rc" @ONLY)
    target_sources(${program} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${program}_strings.rc")
  else()
    configure_file("${KVI_STRING_TABLE_TEMPLATES}/string_table.cpp.in"
                   "${CMAKE_CURRENT_BINARY_DIR}/${program}_strings.cpp" @ONLY)
    target_sources(${program} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${program}_strings.cpp")
    target_compile_features(${program} PRIVATE cxx_std_20)
    # Found by name in the program's own symbol table.
    target_link_options(${program} PRIVATE -Wl,--export-dynamic-symbol=kvi_string_table)
  endif()
endfunction()
