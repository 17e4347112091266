# What Debian wants otherwise than a plain installation has it: compressed manual pages and a changelog of its own.
set(root ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${root}/doc/gxsys/changelog "gxsys (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}. CHANGELOG.md says what has changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(GLOB pages ${root}/man/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} ${root}/doc/gxsys/changelog COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE documents ${root}/doc/*)
execute_process(COMMAND chmod 644 ${documents} COMMAND_ERROR_IS_FATAL ANY)
