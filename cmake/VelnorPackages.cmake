# What an installation holds and the Debian packages that cpack makes of it: velnor-server for a machine without a
# desktop, velnor-console for one with it. `cmake --build build/release --target programs && cpack --config
# build/release/CPackConfig.cmake` makes both in the current directory.
#
# The programs lie together in lib/velnor, where they look for each other and for rules.ini, and are started
# through links.

if(VELNOR_SANITIZE)
  return()
endif()

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(made ${PROJECT_BINARY_DIR}/packaging)
set(components server)
if(TARGET velnor)
  list(APPEND components console)
endif()

# Installs a link at `path`, below the prefix.
function(velnor_install_link component path target)
  get_filename_component(directory ${path} DIRECTORY)
  file(MAKE_DIRECTORY ${made}/${directory})
  file(CREATE_LINK ${target} ${made}/${path} SYMBOLIC)
  install(FILES ${made}/${path} DESTINATION ${directory} COMPONENT ${component})
endfunction()

# Installs a file compressed. It is made anew whenever cmake runs, which a change of the file brings about.
function(velnor_install_compressed component source destination)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  get_filename_component(name ${source} NAME)
  file(MAKE_DIRECTORY ${made}/${destination})
  execute_process(COMMAND gzip -9nc ${source} OUTPUT_FILE ${made}/${destination}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${made}/${destination}/${name}.gz DESTINATION ${destination} COMPONENT ${component})
endfunction()

# What Debian expects of every package.
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component ${components})
  set(package velnor-${component})
  configure_file(${packaging}/debian/changelog.in ${made}/${package}/changelog @ONLY)
  velnor_install_compressed(${component} ${made}/${package}/changelog share/doc/${package})
  install(FILES ${packaging}/debian/copyright DESTINATION share/doc/${package} COMPONENT ${component})
endforeach()

install(TARGETS VelnorService velnorctl RUNTIME DESTINATION lib/velnor COMPONENT server)
velnor_install_link(server sbin/VelnorService ../lib/velnor/VelnorService)
velnor_install_link(server bin/velnorctl ../lib/velnor/velnorctl)
# The server writes this file, so it lies with what is the server's.
velnor_install_link(server lib/velnor/rules.ini /var/lib/velnor/rules.ini)
install(FILES ${packaging}/VelnorService.service DESTINATION lib/systemd/system COMPONENT server)
install(FILES ${packaging}/completion/velnorctl.bash
  DESTINATION share/bash-completion/completions COMPONENT server RENAME velnorctl)
velnor_install_compressed(server ${PROJECT_SOURCE_DIR}/docs/man/VelnorService.8 share/man/man8)
velnor_install_compressed(server ${PROJECT_SOURCE_DIR}/docs/man/velnorctl.1 share/man/man1)
velnor_install_compressed(server ${PROJECT_SOURCE_DIR}/docs/man/velnor.ini.5 share/man/man5)
install(FILES README.md docs/administration.md docs/mail-store.md
  DESTINATION share/doc/velnor COMPONENT server)
install(DIRECTORY docs/images DESTINATION share/doc/velnor COMPONENT server OPTIONAL)

if(TARGET velnor)
  install(TARGETS velnor RUNTIME DESTINATION lib/velnor COMPONENT console)
  install(PROGRAMS ${packaging}/velnor-desktop DESTINATION lib/velnor COMPONENT console)
  velnor_install_link(console bin/velnor ../lib/velnor/velnor)
  install(FILES ${packaging}/velnor.desktop DESTINATION share/applications COMPONENT console)
  install(FILES src/console/widgets/resources/pictures/server_running.svg
    DESTINATION share/icons/hicolor/scalable/apps COMPONENT console RENAME velnor.svg)
  velnor_install_compressed(console ${PROJECT_SOURCE_DIR}/docs/man/velnor.1 share/man/man1)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velnor)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "mail server for small domains, kept in plain files")
set(CPACK_PACKAGE_VENDOR "the Velnor project")
set(CPACK_PACKAGE_CONTACT "Velnor maintainers <maintainers@users.noreply.c-seed-b10f0185.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME velnor-server)
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "adduser, init-system-helpers (>= 1.54~)")
set(CPACK_DEBIAN_SERVER_PACKAGE_SUGGESTS velnor-console)
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA
  ${packaging}/debian/preinst ${packaging}/debian/postinst ${packaging}/debian/prerm ${packaging}/debian/postrm)
set(CPACK_COMPONENT_SERVER_DESCRIPTION "Velnor takes mail in by SMTP, delivers it to local mailboxes and to other
domains, and gives it out by POP3. Settings are INI files, an account is a
directory and a message is a file; there is no database.

This package holds the server as a system service, and velnorctl, which
administers it from the command line.")

set(CPACK_DEBIAN_CONSOLE_PACKAGE_NAME velnor-console)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_CONSOLE_PACKAGE_RECOMMENDS velnor-server)
set(CPACK_COMPONENT_CONSOLE_DESCRIPTION "Velnor takes mail in by SMTP, delivers it to local mailboxes and to other
domains, and gives it out by POP3.

This package holds the server in the form of a desktop program: it shows a
live log, starts and stops the services, and edits domains, accounts, mail
lists, rules and settings.")

include(CPack)
