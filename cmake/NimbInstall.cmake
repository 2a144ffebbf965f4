# What an installation consists of beside the library and its header: the two programs, their man
# pages and completions, the manual and an example of a plant file. Two components, because they become two packages.

foreach(program nimbhost nimb-demo-server)
  if(TARGET ${program})  # nimbhost is left out where its libraries are missing
    install(TARGETS ${program} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)
  endif()
endforeach()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT runtime)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/packaging/examples" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        COMPONENT runtime)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/packaging/completion/"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT runtime)

find_program(NIMB_SCDOC scdoc)
if(NIMB_SCDOC)
  set(pages "")
  foreach(name nimbhost nimb-demo-server)
    set(source "${PROJECT_SOURCE_DIR}/packaging/man/${name}.1.scd")
    set(page "${PROJECT_BINARY_DIR}/man/${name}.1.gz")
    add_custom_command(OUTPUT "${page}"
      COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/man"
      COMMAND sh -c "'${NIMB_SCDOC}' < '${source}' | gzip -9n > '${page}'"
      DEPENDS "${source}" VERBATIM)
    list(APPEND pages "${page}")
  endforeach()
  add_custom_target(nimb_man ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT runtime)
else()
  message(STATUS "scdoc is not installed: there will be no man pages")
endif()
