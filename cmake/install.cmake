# What `cmake --install` brings to a system. The manual page and the completion are printed by the program itself,
# from the tables that its options are parsed with.
include(GNUInstallDirs)
set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/vemko-studio)

install(TARGETS vemko RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

if(VEMKO_GUI)
  install(TARGETS vemko-studio RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(NOT WIN32)
    install(FILES data/vemko-studio.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES data/vemko-studio.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
    install(FILES data/vemko-studio.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
    install(FILES data/vemko-studio.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  endif()
endif()

if(NOT CMAKE_CROSSCOMPILING)
  set(VEMKO_MAN_PAGE ${CMAKE_BINARY_DIR}/vemko.1)
  set(VEMKO_COMPLETION ${CMAKE_BINARY_DIR}/vemko.bash)
  add_custom_command(OUTPUT ${VEMKO_MAN_PAGE} ${VEMKO_COMPLETION}
    COMMAND vemko --help-man > ${VEMKO_MAN_PAGE}
    COMMAND vemko --completion bash > ${VEMKO_COMPLETION}
    DEPENDS vemko VERBATIM)
  add_custom_target(vemko-documentation ALL DEPENDS ${VEMKO_MAN_PAGE} ${VEMKO_COMPLETION})
  install(FILES ${VEMKO_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${VEMKO_COMPLETION} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME vemko)
endif()
