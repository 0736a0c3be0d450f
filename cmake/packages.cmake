# Debian packages, made by `cpack` in a release build whose prefix is /usr: libveloria1, libveloria-c1,
# libveloria-dev, veloria-tools, python3-veloria, veloria-doc.
if(NOT PROJECT_IS_TOP_LEVEL OR NOT BUILD_SHARED_LIBS OR NOT TARGET veloria_manual OR NOT SCDOC OR NOT GZIP
        OR NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
    return()
endif()
get_target_property(soversion veloria SOVERSION)
set(package_runtime libveloria${soversion})
set(package_c libveloria-c${soversion})
set(package_development libveloria-dev)
set(package_tools veloria-tools)
set(package_python python3-veloria)
set(package_documentation veloria-doc)
set(package_maintainer "veloria developers <developers@veloria.example>")
set(package_version ${PROJECT_VERSION}-1)

# Each package has its own copyright and changelogs. No other installation wants them.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in debian/changelog.Debian @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md debian/changelog COPYONLY)
foreach(log changelog changelog.Debian)
    add_custom_command(OUTPUT debian/${log}.gz
        COMMAND ${GZIP} -9nc debian/${log} > debian/${log}.gz
        DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/debian/${log}
        VERBATIM)
endforeach()
add_custom_target(package_documents ALL DEPENDS debian/changelog.gz debian/changelog.Debian.gz)
foreach(part runtime c development tools python documentation)
    set(package ${package_${part}})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/lintian-overrides.in debian/${package} @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${part} EXCLUDE_FROM_ALL)
    install(FILES
        ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
        ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.gz
        ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${part} EXCLUDE_FROM_ALL)
endforeach()
install(FILES
    ${PROJECT_SOURCE_DIR}/examples/analyse.cpp
    ${PROJECT_SOURCE_DIR}/examples/host.c
    ${PROJECT_SOURCE_DIR}/examples/host.cpp
    ${PROJECT_SOURCE_DIR}/examples/host.go
    ${PROJECT_SOURCE_DIR}/examples/host.rs
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_development}/examples COMPONENT development EXCLUDE_FROM_ALL)

# Where Debian's Python looks; others install the package by pip.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/veloria
    DESTINATION lib/python3/dist-packages COMPONENT python EXCLUDE_FROM_ALL
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)

# What a composer or an archive reads and runs without the repository.
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/${package_documentation})
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CITATION.cff
    DESTINATION ${doc_dir} COMPONENT documentation EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
    DESTINATION ${doc_dir} COMPONENT documentation EXCLUDE_FROM_ALL
    PATTERN "CMakeLists.txt" EXCLUDE
    PATTERN "docs/api" EXCLUDE
    PATTERN "docs/make_pictures" EXCLUDE
    PATTERN "__pycache__" EXCLUDE)
if(TARGET documentation)
    add_dependencies(package_documents documentation)
    install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/api/
        DESTINATION ${doc_dir}/api COMPONENT documentation EXCLUDE_FROM_ALL)
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/veloria-doc.doc-base
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base RENAME veloria-api COMPONENT documentation EXCLUDE_FROM_ALL)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own in its first line
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime c development tools python documentation)
set(CPACK_DEBIAN_PACKAGE_SOURCE veloria)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${package_maintainer}")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs' library is in a package made at the same time, which dpkg-shlibdeps doesn't know.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${package_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "shows the musical structure of a sound - library
It measures how alike every moment of a sound is to every other moment, by
sound color, harmony or both, and writes the result as a gabarit: an SDIF
file that shows as a square picture in which repeats are stripes and sections
are blocks.")

set(CPACK_DEBIAN_C_PACKAGE_NAME ${package_c})
set(CPACK_DEBIAN_C_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_C_PACKAGE_DEPENDS "${package_runtime} (>= ${package_version})")
set(CPACK_DEBIAN_C_DESCRIPTION "shows the musical structure of a sound - library for C
It measures how alike every moment of a sound is to every other moment and
writes the result as a gabarit, an SDIF file, or hands it over in memory.

This package holds the library for programs in C, and in languages that call
C.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${package_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${package_runtime} (= ${package_version}), ${package_c} (= ${package_version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "shows the musical structure of a sound - development files
The library measures how alike every moment of a sound is to every other
moment and writes the result as a gabarit, an SDIF file.

This package holds the headers for C++ and C, the files by which CMake and
pkg-config find the libraries, manual pages and example hosts.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${package_tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${package_runtime} (>= ${package_version})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "shows the musical structure of a sound - programs
marquen measures how alike every moment of a sound is to every other moment,
by sound color, harmony or both, and writes the result as a gabarit: an SDIF
file that shows as a square picture in which repeats are stripes and sections
are blocks.

gabarit describes such files, verifies and draws them, and exports their
numbers for NumPy and for annotation programs.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${package_python})
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), python3-numpy, ${package_c} (>= ${package_version})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-matplotlib, ${package_tools}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-tqdm)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/cmake/debian/python/postinst ${PROJECT_SOURCE_DIR}/cmake/debian/python/prerm)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "shows the musical structure of a sound - Python package
It measures how alike every moment of a sound, in a file or an array, is to
every other moment, and gives the result as a NumPy array. It reads, writes and
plots gabarits, the SDIF files of such results, and lists a sound's sections.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME ${package_documentation})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SUGGESTS ${package_tools})
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "shows the musical structure of a sound - documentation
The guide to gabarits, with pictures: how to read one, which settings to
choose, what sizes and times to expect.

This package also holds a workflow for archives of sounds, example programs
that use the library, and the documentation of its interface.")

set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish.cmake)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
