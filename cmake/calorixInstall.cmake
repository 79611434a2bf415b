# `cmake --install` puts the controller on a board; `cpack` in the build folder makes a Debian package of the same.
include(GNUInstallDirs)
install(TARGETS calorix RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(tool calorix-watch calorix-log)
    if(TARGET ${tool})
        install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endforeach()
install(DIRECTORY ${CMAKE_SOURCE_DIR}/packaging/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/systemd/calorix.service DESTINATION /lib/systemd/system)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/udev/60-calorix.rules DESTINATION /lib/udev/rules.d)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/sudoers/calorix DESTINATION /etc/sudoers.d PERMISSIONS OWNER_READ GROUP_READ)
# The example installation is shipped beside the live one, which belongs to the engineer and is never overwritten.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/config/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/example)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME calorix)
set(CPACK_PACKAGE_CONTACT "The Calorix developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Home-heating controller")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(CMAKE_CROSSCOMPILING) # else it asks this machine
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "curl, iproute2, sudo, util-linux, fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_SOURCE_DIR}/packaging/debian/postinst ${CMAKE_SOURCE_DIR}/packaging/debian/prerm
    ${CMAKE_SOURCE_DIR}/packaging/debian/conffiles)
include(CPack)
