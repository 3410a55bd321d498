# The installed layout: the tool in <prefix>/bin, the simulator (a program of the tool's own,
# not one for the user's path) in <prefix>/lib/qormin-dbtools, the demo scenario in
# <prefix>/share/qormin-dbtools. On Windows the simulator stays beside the tool.
include(GNUInstallDirs)
if(WIN32)
    set(QORMIN_INSTALL_PRIVATEDIR ${CMAKE_INSTALL_BINDIR})
else()
    set(QORMIN_INSTALL_PRIVATEDIR lib/qormin-dbtools)
endif()
set(QORMIN_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/qormin-dbtools)

# The program finds them relative to its own folder, so the tree can be installed anywhere.
file(RELATIVE_PATH QORMIN_INSTALL_PRIVATE_RELATIVE /root/${CMAKE_INSTALL_BINDIR}
     /root/${QORMIN_INSTALL_PRIVATEDIR})
file(RELATIVE_PATH QORMIN_INSTALL_DATA_RELATIVE /root/${CMAKE_INSTALL_BINDIR} /root/${QORMIN_INSTALL_DATADIR})
if(QORMIN_INSTALL_PRIVATE_RELATIVE STREQUAL "")
    set(QORMIN_INSTALL_PRIVATE_RELATIVE .)
endif()
