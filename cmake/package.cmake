# The Debian package: "cpack -G DEB" in the build directory makes
# msglint_VERSION_amd64.deb.
#
# An installation of the base manager kern is a directory of its own
# (bin/kern, sbin/pnlctl, sbin/msglint, lib/modules/msglint.so, beside the
# managers' etc/ and var/), so the package keeps that tree whole under
# /usr/lib/msglint and puts only what the system looks for elsewhere on the
# system's paths: the manual pages under /usr/share/man and a link
# /usr/bin/msglint to the launcher (and /usr/bin/msglint-report to the report
# tool). An installation to audit is laid over it
# by linking the tree into a directory of its own (README, msglint(1)).
#
# The install rules name their component: "tree" (the default, everything
# of the installation), "manual" (the manual pages), "links" (the package's
# own /usr/bin links) and "debian" (what Debian asks of every package: the
# copyright file, the changelog and lintian's overrides); the last two are
# never installed by a plain cmake --install.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME msglint)
set(CPACK_PACKAGE_CONTACT
  "msglint maintainers <maintainers@users.noreply.c-seed-19b8b866.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "audit the XML interface descriptions and messages of a panel manager")
set(CPACK_PACKAGE_DESCRIPTION
  "msglint finds what is missing, empty, unused, repeated or wrong in the XML
user-interface descriptions and per-language message files of a
control-panel manager. The package holds the launcher, the audit module and
a small reference panel (kern, pnlctl) under /usr/lib/msglint.")
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Libraries from dpkg-shlibdeps; killall is run, not linked.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS psmisc)
set(CPACK_STRIP_FILES ON)
# Each component goes to its own directory of the package.
set(CPACK_PACKAGING_INSTALL_PREFIX /)
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};tree;/usr/lib/msglint"
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};manual;/usr"
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};links;/usr"
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};debian;/usr")

file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
file(CREATE_LINK ../lib/msglint/sbin/msglint
  ${CMAKE_BINARY_DIR}/package/msglint SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/package/msglint DESTINATION bin
  COMPONENT links EXCLUDE_FROM_ALL)
file(CREATE_LINK ../lib/msglint/sbin/msglint-report
  ${CMAKE_BINARY_DIR}/package/msglint-report SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/package/msglint-report DESTINATION bin
  COMPONENT links EXCLUDE_FROM_ALL)

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${packaging}/copyright DESTINATION share/doc/msglint
  COMPONENT debian EXCLUDE_FROM_ALL)
add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/package/changelog.gz
  COMMAND ${GZIP} -9nc ${packaging}/changelog > ${CMAKE_BINARY_DIR}/package/changelog.gz
  DEPENDS ${packaging}/changelog VERBATIM)
add_custom_target(package_changelog ALL DEPENDS ${CMAKE_BINARY_DIR}/package/changelog.gz)
install(FILES ${CMAKE_BINARY_DIR}/package/changelog.gz DESTINATION share/doc/msglint
  COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES ${packaging}/lintian-overrides DESTINATION share/lintian/overrides
  RENAME msglint COMPONENT debian EXCLUDE_FROM_ALL)

include(CPack)
