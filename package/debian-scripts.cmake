# CPack has ldconfig run at installation and removal. There is nothing for it in lib/jni: the package needs no scripts.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(place ${package}.unpacked)
    execute_process(COMMAND dpkg-deb -R ${package} ${place} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${place}/DEBIAN/postinst ${place}/DEBIAN/postrm)
    execute_process(COMMAND dpkg-deb --root-owner-group -b ${place} ${package} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
    file(REMOVE_RECURSE ${place})
endforeach()
