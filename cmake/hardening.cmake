# The hardening of Debian's packages: stack protector, checked functions of the C library, read-only relocations, format
# errors; for all that is compiled. None of it changes a sum. The optimization stays that of the build.
find_program(DPKG_BUILDFLAGS dpkg-buildflags)
if(NOT DPKG_BUILDFLAGS OR NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
    return()
endif()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
foreach(kind CPPFLAGS CXXFLAGS LDFLAGS)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_OPTIONS= DEB_BUILD_MAINT_OPTIONS=hardening=+all
            ${DPKG_BUILDFLAGS} --get ${kind}
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    list(FILTER flags EXCLUDE REGEX "^-(g|O[0-9s])$")
    if(kind STREQUAL LDFLAGS)
        add_link_options(${flags})
    else()
        add_compile_options(${flags})
    endif()
endforeach()
