# The manual page and the completion of command lines, each where its reader looks for it.
set(completions "${CMAKE_SOURCE_DIR}/resources/completions")
install(FILES "${CMAKE_SOURCE_DIR}/docs/tarvinel.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES "${completions}/tarvinel.bash" RENAME tarvinel
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES "${completions}/_tarvinel"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
install(FILES "${completions}/tarvinel.fish"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
