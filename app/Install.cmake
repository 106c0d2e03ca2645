# The rules for "cmake --install". Everything for the desktop is in the component "tray"; a package
# without it takes the component "headless" instead, whose program has the same name.
include(GNUInstallDirs)
set(resources "${CMAKE_SOURCE_DIR}/resources")

install(TARGETS tarvinel-bind DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/tarvinel")
install(FILES "${resources}/systemd/tarvinel-headless.service" DESTINATION lib/systemd/user)

if(TARVINEL_TRAY)
  set(program_component tray)
  install(DIRECTORY "${resources}/icons" "${resources}/tray"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/tarvinel" COMPONENT tray)
  install(DIRECTORY "${resources}/icons" DESTINATION "${CMAKE_INSTALL_DATADIR}" COMPONENT tray)
  install(FILES "${resources}/org.tarvinel.Tarvinel.desktop"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications" COMPONENT tray)
  # software centres show the versions and their dates
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/CHANGELOG.md")
  set(version_section "^## ([0-9.]+) \\(([0-9-]+)\\)$")
  file(STRINGS "${CMAKE_SOURCE_DIR}/CHANGELOG.md" releases REGEX "${version_section}")
  list(TRANSFORM releases REPLACE "${version_section}" "    <release version=\"\\1\" date=\"\\2\"/>\n")
  if(releases)
    list(JOIN releases "" releases)
    set(releases "  <releases>\n${releases}  </releases>\n")
  endif()
  configure_file("${resources}/org.tarvinel.Tarvinel.metainfo.xml.in"
    "${CMAKE_CURRENT_BINARY_DIR}/org.tarvinel.Tarvinel.metainfo.xml" @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/org.tarvinel.Tarvinel.metainfo.xml"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo" COMPONENT tray)
  install(PROGRAMS "$<TARGET_FILE:tarvinel-headless>" RENAME tarvinel
    DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT headless EXCLUDE_FROM_ALL)
else()
  set(program_component Unspecified)
endif()
install(TARGETS tarvinel DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${program_component})

# The manual page and the shells' completions.
set(completions "${resources}/completions")
install(FILES "${CMAKE_SOURCE_DIR}/docs/tarvinel.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES "${completions}/tarvinel.bash" RENAME tarvinel
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES "${completions}/_tarvinel"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
install(FILES "${completions}/tarvinel.fish"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
