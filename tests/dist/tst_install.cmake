# Installs the build into a scratch DESTDIR and checks it as a distribution would: every file
# in its place, the desktop entry and the AppStream metainfo valid, and the installed
# command-line program finding the sample contacts and templates in <datadir>/zettelwerk.
set(_root ${BUILD_DIR}/tst_install-root)
file(REMOVE_RECURSE ${_root})
set(ENV{DESTDIR} ${_root})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix /usr
                RESULT_VARIABLE _rc OUTPUT_QUIET ERROR_VARIABLE _err)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${_err}")
endif()
unset(ENV{DESTDIR})

set(_usr ${_root}/usr)
foreach(_f ${BINDIR}/zettelwerk ${BINDIR}/zettelwerk-cli
           ${DATADIR}/zettelwerk/Zettelwerk.html ${DATADIR}/zettelwerk/Bsp-Brief.dotx
           ${DATADIR}/zettelwerk/Bsp-FAX.dotx ${DATADIR}/zettelwerk/Beispielkontakte
           ${DATADIR}/applications/${APP_ID}.desktop
           ${DATADIR}/metainfo/${APP_ID}.metainfo.xml
           ${DATADIR}/icons/hicolor/scalable/apps/${APP_ID}.svg
           ${DATADIR}/icons/hicolor/16x16/apps/${APP_ID}.png
           ${DATADIR}/icons/hicolor/48x48/apps/${APP_ID}.png
           ${DATADIR}/icons/hicolor/256x256/apps/${APP_ID}.png)
  if(NOT EXISTS ${_usr}/${_f})
    message(FATAL_ERROR "not installed: ${_f}")
  endif()
endforeach()
file(GLOB _cards ${_usr}/${DATADIR}/zettelwerk/Beispielkontakte/*.vcf)
if(NOT _cards)
  message(FATAL_ERROR "no sample contacts installed")
endif()

set(_desktop ${_usr}/${DATADIR}/applications/${APP_ID}.desktop)
execute_process(COMMAND desktop-file-validate ${_desktop}
                RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _out)
if(NOT _rc EQUAL 0 OR NOT _out STREQUAL "")
  message(FATAL_ERROR "desktop-file-validate: ${_out}")
endif()
file(READ ${_desktop} _entry)
foreach(_line "Exec=zettelwerk %F" "MimeType=text/vcard;text/x-vcard;" "Icon=${APP_ID}"
              "Name[de]=Zettelwerk" "Comment[de]=")
  string(FIND "${_entry}" "${_line}" _at)
  if(_at LESS 0)
    message(FATAL_ERROR "desktop entry lacks '${_line}'")
  endif()
endforeach()

execute_process(COMMAND appstreamcli validate --no-net ${_usr}/${DATADIR}/metainfo/${APP_ID}.metainfo.xml
                RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _out)
if(NOT _rc EQUAL 0)
  message(FATAL_ERROR "appstreamcli validate: ${_out}")
endif()

# The installed program, in a home of its own, finds the samples beside it in the data folder.
set(_home ${_root}/home)
file(MAKE_DIRECTORY ${_home})
set(ENV{HOME} ${_home})
set(ENV{XDG_CONFIG_HOME} ${_home}/.config)
set(ENV{XDG_DATA_HOME} ${_home}/.local/share)
set(ENV{XDG_DOCUMENTS_DIR} ${_home}/Dokumente)
execute_process(COMMAND ${_usr}/${BINDIR}/zettelwerk-cli --ordner "Root\\Beispielkontakte"
                        --nachname Müller --liste
                RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
if(NOT _rc EQUAL 0 OR NOT _out MATCHES "Müller")
  message(FATAL_ERROR "installed zettelwerk-cli does not find the samples (${_rc}): ${_out}${_err}")
endif()
execute_process(COMMAND ${_usr}/${BINDIR}/zettelwerk-cli --ordner "Root\\Beispielkontakte"
                        --nachname Müller --vorlage ${_usr}/${DATADIR}/zettelwerk/Bsp-Brief.dotx
                        --ausgabe ${_home}
                RESULT_VARIABLE _rc OUTPUT_VARIABLE _out ERROR_VARIABLE _err)
string(STRIP "${_out}" _out)
if(NOT _rc EQUAL 0 OR NOT EXISTS "${_out}")
  message(FATAL_ERROR "installed zettelwerk-cli cannot fill the installed template (${_rc}): ${_out}${_err}")
endif()
file(REMOVE_RECURSE ${_root})
