# Man pages of the programs and subcommands, and bash completion, from the help of what was built.
find_program(ORVIX_MAN_PYTHON python3 REQUIRED)
set(man ${CMAKE_BINARY_DIR}/man)
add_custom_command(
    OUTPUT ${man}/orvix.bash
    COMMAND ${ORVIX_MAN_PYTHON} ${PROJECT_SOURCE_DIR}/scripts/man_pages.py
            ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${man}
    DEPENDS ${ORVIX_PROGRAMS} ${PROJECT_SOURCE_DIR}/scripts/man_pages.py
    COMMENT "Man pages and completion" VERBATIM)
add_custom_target(man_pages ALL DEPENDS ${man}/orvix.bash)
install(DIRECTORY ${man}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs
        FILES_MATCHING PATTERN "*.1")
install(FILES ${man}/orvix.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME orvix COMPONENT programs OPTIONAL)
