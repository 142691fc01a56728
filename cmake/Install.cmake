# What `make install` puts where a Linux desktop expects it, and the Debian package made of
# the same files. DESTDIR is honoured as usual.
include(GNUInstallDirs)

install(TARGETS quorvane-audio quorvane-audio-batch quorvane-trace-viewer
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# A host's call on the session bus starts the editor by itself. The file names the program
# by its full path, which is known only when installing (a --prefix, or the package's).
install(CODE "
  set(CMAKE_INSTALL_FULL_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  configure_file(\"${PROJECT_SOURCE_DIR}/data/QuorvaneAudio.CallerClass.service.in\"
                 \"${PROJECT_BINARY_DIR}/QuorvaneAudio.CallerClass.service\" @ONLY)
  file(INSTALL \"${PROJECT_BINARY_DIR}/QuorvaneAudio.CallerClass.service\"
       DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/dbus-1/services\")
")
install(FILES ${PROJECT_SOURCE_DIR}/data/quorvane-audio.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/quorvane-audio.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/docs/manual.html
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvane-audio)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvane-audio)
set(CPACK_PACKAGE_VENDOR "Quorvane")
set(CPACK_PACKAGE_CONTACT "Quorvane Audio developers <audio@quorvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Audio editor for the narration of slide presentations")
set(CPACK_PACKAGE_INSTALL_DIRECTORY /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
# The libraries the programs link come from dpkg-shlibdeps; MP3 needs the encoder program
# and the tests' sound server is not the package's business.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "lame, dbus")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pulseaudio | pipewire-pulse, pavucontrol")
include(CPack)
