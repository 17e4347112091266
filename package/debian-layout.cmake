# What Debian wants otherwise than a plain installation has it: compressed manual pages, a changelog of its own, jars with
# their version in the name.
set(root ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${root}/doc/gxsys/changelog "gxsys (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}. CHANGELOG.md says what has changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(GLOB pages ${root}/man/man1/*.1)
execute_process(COMMAND gzip -9nf ${pages} ${root}/doc/gxsys/changelog COMMAND_ERROR_IS_FATAL ANY)
foreach(jar gxsys gxsys-junit)
    file(RENAME ${root}/java/${jar}.jar ${root}/java/${jar}-${CPACK_PACKAGE_VERSION}.jar)
    file(CREATE_LINK ${jar}-${CPACK_PACKAGE_VERSION}.jar ${root}/java/${jar}.jar SYMBOLIC)
endforeach()
# Whatever the umask was.
execute_process(COMMAND chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_DIRECTORY}/usr COMMAND_ERROR_IS_FATAL ANY)
