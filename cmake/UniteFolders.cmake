# unite_folders(TARGET): with CMAKE_UNITY_BUILD on, compiles each folder of the target as one file, so
# that its headers are read and its templates instantiated once. Files of a folder then share their
# unnamed namespace.
function(unite_folders target)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(RELATIVE_PATH folder)
    string(MAKE_C_IDENTIFIER "${folder}" group)
    set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${group}")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
endfunction()
