# The desktop entry, the icon, the manual page and the Debian documents. The manual page and
# the changelog carry the project's version and are compressed as Debian wants (gzip -9n: no
# name, no time stamp, so the same sources give the same package).
configure_file(${QORMIN_PACKAGING_DIR}/qormin-dbtools.1.in ${QORMIN_GENERATED_DIR}/qormin-dbtools.1 @ONLY)
configure_file(${QORMIN_PACKAGING_DIR}/changelog.in ${QORMIN_GENERATED_DIR}/changelog @ONLY)

find_program(QORMIN_GZIP gzip REQUIRED)
set(compressed)
foreach(name qormin-dbtools.1 changelog)
    add_custom_command(OUTPUT ${QORMIN_GENERATED_DIR}/${name}.gz
        COMMAND ${QORMIN_GZIP} -9n -c ${QORMIN_GENERATED_DIR}/${name} > ${QORMIN_GENERATED_DIR}/${name}.gz
        DEPENDS ${QORMIN_GENERATED_DIR}/${name}
        VERBATIM)
    list(APPEND compressed ${QORMIN_GENERATED_DIR}/${name}.gz)
endforeach()
add_custom_target(qormin-package-documents ALL DEPENDS ${compressed})

install(FILES ${QORMIN_PACKAGING_DIR}/qormin-dbtools.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${QORMIN_PACKAGING_DIR}/qormin-dbtools.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${QORMIN_GENERATED_DIR}/qormin-dbtools.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${QORMIN_PACKAGING_DIR}/copyright ${QORMIN_GENERATED_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/qormin-dbtools)

# When packing strips the programs, it also drops the compilers' version notes, as Debian's own
# package builds do.
find_program(QORMIN_OBJCOPY NAMES ${CMAKE_OBJCOPY} objcopy)
if(QORMIN_OBJCOPY)
    foreach(program ${CMAKE_INSTALL_BINDIR}/qormin-dbtools ${QORMIN_INSTALL_PRIVATEDIR}/qormin-sim)
        install(CODE "if(CMAKE_INSTALL_DO_STRIP)
    execute_process(COMMAND \"${QORMIN_OBJCOPY}\" --remove-section=.comment --remove-section=.note
                    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${program}\" COMMAND_ERROR_IS_FATAL ANY)
endif()")
    endforeach()
endif()
