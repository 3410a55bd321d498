# The Qt libraries and plugins go beside the program (Qt's deployment script runs windeployqt);
# the ODBC driver is Microsoft's own installer, which this one does not carry.
qt_generate_deploy_app_script(TARGET qormin-dbtools OUTPUT_SCRIPT qormin_deploy_script
                              NO_UNSUPPORTED_PLATFORM_ERROR)
install(SCRIPT ${qormin_deploy_script})
install(FILES ${QORMIN_PACKAGING_DIR}/qormin-dbtools.svg DESTINATION ${QORMIN_INSTALL_DATADIR})
