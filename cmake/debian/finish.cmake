# What CPack leaves to do on the packages that it made. CMake before 3.31 can't tell Multi-Arch, and each version calls
# ldconfig from maintainer scripts where a trigger does it once for all packages of an installation.
foreach(package ${CPACK_PACKAGE_FILES})
    set(tree ${package}.tree)
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(READ ${tree}/DEBIAN/control control)
    string(REGEX MATCH "Package: ([^\n]*)" unused "${control}")
    set(symbols ${CMAKE_CURRENT_LIST_DIR}/${CMAKE_MATCH_1}.symbols)
    if(EXISTS ${symbols}) # since which version each function is there: checked against the library
        string(REGEX MATCH "Version: ([^\n]*)" unused "${control}")
        get_filename_component(name ${symbols} NAME_WE)
        execute_process(
            COMMAND dpkg-gensymbols -c4 -p${name} -v${CMAKE_MATCH_1} -P${tree} -I${symbols} -O${tree}/DEBIAN/symbols
            WORKING_DIRECTORY ${CMAKE_CURRENT_LIST_DIR}/.. COMMAND_ERROR_IS_FATAL ANY)
    endif()
    if(EXISTS ${tree}/DEBIAN/shlibs)
        set(multi_arch same)
        file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
        file(WRITE ${tree}/DEBIAN/triggers "activate-noawait ldconfig\n")
    elseif(package MATCHES "-dev_")
        set(multi_arch same)
    else()
        set(multi_arch foreign)
    endif()
    # Debian's tools strip the compiler's notes too. The check sums come after.
    execute_process(COMMAND sh -ec "
            find usr -type f -exec sh -c 'file -b \"$1\" | grep -q ^ELF && strip -R .comment -R .note \"$1\"' sh {} \\;
            find usr -type f | LC_ALL=C sort | xargs -d '\\n' md5sum >DEBIAN/md5sums"
        WORKING_DIRECTORY ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE ${tree}/DEBIAN/control "Multi-Arch: ${multi_arch}\n${control}")
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${tree} ${package} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
endforeach()
