# What an installation holds, and how CPack packs it: a Debian package on Linux, an NSIS
# installer on Windows. The version everywhere is the project's VERSION.
set(QORMIN_PACKAGING_DIR ${CMAKE_CURRENT_LIST_DIR})
set(QORMIN_GENERATED_DIR ${CMAKE_BINARY_DIR}/packaging)

install(TARGETS qormin-dbtools RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS qormin-sim RUNTIME DESTINATION ${QORMIN_INSTALL_PRIVATEDIR})
install(FILES ${CMAKE_SOURCE_DIR}/sim/scenarios/demo.json DESTINATION ${QORMIN_INSTALL_DATADIR}/scenarios)

if(UNIX AND NOT APPLE)
    include(${QORMIN_PACKAGING_DIR}/DebianFiles.cmake)
endif()
if(WIN32)
    include(${QORMIN_PACKAGING_DIR}/WindowsFiles.cmake)
endif()

set(CPACK_PACKAGE_NAME qormin-dbtools)
set(CPACK_PACKAGE_VENDOR "QORMIN DB Tools developers")
set(CPACK_PACKAGE_CONTACT "QORMIN DB Tools developers <dbtools@qormin.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "maintain two Microsoft SQL Servers side by side")
set(CPACK_PACKAGE_DESCRIPTION
    "A desktop maintenance tool for a hospital's SQL Server installation: two
servers side by side, their databases and tables, and the chores that keep
them alive - backups, restores, mirroring, table copies, share mapping,
session clearing, patient-name anonymisation and data transfers.
.
It reaches the servers through unixODBC and the FreeTDS driver, runs
headless from cron in batch mode, and carries a simulated SQL Server for
its demo (qormin-dbtools --demo).")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Debian: shared-library dependencies are read from the binaries; the ODBC driver is loaded by
# the driver manager at run time, so it is named here, as are the SMB clients the share tools
# call.
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "tdsodbc, unixodbc")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "smbclient, gvfs-backends, gvfs-fuse, libglib2.0-bin")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Windows: an NSIS installer with a Start-menu entry.
set(CPACK_PACKAGE_INSTALL_DIRECTORY "QORMIN DB Tools")
set(CPACK_PACKAGE_EXECUTABLES qormin-dbtools "QORMIN DB Tools")
set(CPACK_NSIS_DISPLAY_NAME "QORMIN DB Tools ${PROJECT_VERSION}")
set(CPACK_NSIS_PACKAGE_NAME "QORMIN DB Tools")
set(CPACK_NSIS_INSTALLED_ICON_NAME "${CMAKE_INSTALL_BINDIR}\\\\qormin-dbtools.exe")
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)

if(WIN32)
    set(CPACK_GENERATOR NSIS)
else()
    set(CPACK_GENERATOR DEB)
endif()
include(CPack)
