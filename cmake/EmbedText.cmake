# embed_text(TARGET FILE...): compiles text files into the target. pages/viewer.html becomes
# `extern const std::string_view viewer_html` in namespace tarvinel::embedded, declared in the
# generated header embedded/viewer_html.h.
function(embed_text target)
  foreach(file IN LISTS ARGN)
    cmake_path(GET file FILENAME name)
    string(MAKE_C_IDENTIFIER "${name}" symbol)
    set(out "${CMAKE_CURRENT_BINARY_DIR}/embedded/${symbol}")
    add_custom_command(
      OUTPUT "${out}.cpp" "${out}.h"
      COMMAND "${CMAKE_COMMAND}" -DIN=${CMAKE_CURRENT_SOURCE_DIR}/${file} -DOUT=${out}
              -DSYMBOL=${symbol} -P "${CMAKE_SOURCE_DIR}/cmake/EmbedTextFile.cmake"
      DEPENDS "${file}" "${CMAKE_SOURCE_DIR}/cmake/EmbedTextFile.cmake"
      VERBATIM)
    target_sources(${target} PRIVATE "${out}.cpp" "${out}.h")
  endforeach()
  target_include_directories(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
endfunction()
