# Installing and packaging: where the programs' data files go (GNUInstallDirs), and the
# Debian package that `make package` builds with CPack (cpack -G DEB).
#
# In the source tree: app/desktop/ holds the desktop entries, the AppStream metainfo, the
# MIME types and the icon (SVG, with PNGs rendered from it by scripts/render-icons.sh);
# docs/man/ the manual pages; cmake/debian/ the Debian changelog and copyright.

set(OSMERA_PACKAGE_MAINTAINER "Quillon <osmera@quillon.example>"
    CACHE STRING "Maintainer field of the Debian package")
set(OSMERA_PACKAGE_RELEASE 1 CACHE STRING "Debian revision of the package")
set(OSMERA_DEB_VERSION "${PROJECT_VERSION}-${OSMERA_PACKAGE_RELEASE}")
set(OSMERA_DESKTOP_ID com.quillon.Osmera)

# Manual pages and the Debian changelog are installed compressed (gzip -9n, so the same
# input gives the same bytes). They are made at configure time and again when a source
# changes.
set(package_files ${CMAKE_BINARY_DIR}/package-files)
file(MAKE_DIRECTORY ${package_files})
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${package_files}/changelog.Debian
               @ONLY)
function(osmera_gzip input output)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${input})
  execute_process(COMMAND gzip -9nc ${input} OUTPUT_FILE ${output} RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "gzip could not compress ${input}")
  endif()
endfunction()
osmera_gzip(${package_files}/changelog.Debian ${package_files}/changelog.Debian.gz)
foreach(page osmera.1 osmera-cli.1)
  osmera_gzip(${PROJECT_SOURCE_DIR}/docs/man/${page} ${package_files}/${page}.gz)
endforeach()

set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/osmera)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${doc_dir})
install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${package_files}/changelog.Debian.gz
        DESTINATION ${doc_dir})
install(FILES ${package_files}/osmera-cli.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

if(OSMERA_WITH_QT)
  set(desktop ${PROJECT_SOURCE_DIR}/app/desktop)
  install(FILES ${package_files}/osmera.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${desktop}/${OSMERA_DESKTOP_ID}.desktop ${desktop}/${OSMERA_DESKTOP_ID}.batch.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${desktop}/${OSMERA_DESKTOP_ID}.metainfo.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES ${desktop}/${OSMERA_DESKTOP_ID}.mime.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages RENAME ${OSMERA_DESKTOP_ID}.xml)
  set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  install(FILES ${desktop}/${OSMERA_DESKTOP_ID}.svg DESTINATION ${icons}/scalable/apps)
  foreach(size 16 22 24 32 48 64 128 256)
    install(FILES ${desktop}/icons/${size}x${size}.png DESTINATION ${icons}/${size}x${size}/apps
            RENAME ${OSMERA_DESKTOP_ID}.png)
  endforeach()
endif()

# The Debian package. The desktop, MIME and icon caches are refreshed by the triggers of
# desktop-file-utils, shared-mime-info and the icon theme on the paths above, so the
# package has no maintainer scripts of its own. It has no system-wide configuration
# either: settings and working folders are per user.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME osmera)
set(CPACK_PACKAGE_VENDOR Quillon)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${OSMERA_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop audio editor for long recordings")
set(CPACK_PACKAGE_DESCRIPTION
    "Osmera opens audio files, each in its own window inside one frame, shows
each as a waveform, and edits it: select, cut, copy, paste, trim, silence,
insert, apply effects, analyse, and save in many formats. Files being edited
are kept as lists of pieces of audio on disk, never in memory, so edits and
undo in a ten-hour recording are as quick as in a one-minute one.
.
The package also holds osmera-cli, which drives the same engine from the
command line: file information, conversion, editing scripts, batch
conversion of many files, playing and recording.")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${OSMERA_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${OSMERA_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://quillon.example/osmera/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# ffmpeg reads the formats libsndfile does not (AAC, WMA...).
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ffmpeg)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Directories are listed as root's with the usual modes whatever the build's umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
