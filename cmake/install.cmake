# Libraries, headers, programs, and what CMake and pkg-config need to find them. The components are those of
# packages.cmake: runtime, c, development, tools.
include(CMakePackageConfigHelpers)

install(TARGETS veloria EXPORT veloria-targets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(TARGETS veloria_c EXPORT veloria-targets
    LIBRARY COMPONENT c NAMELINK_COMPONENT development)
install(FILES
    ${PROJECT_SOURCE_DIR}/veloria/veloria.h
    ${PROJECT_SOURCE_DIR}/veloria/veloria.hpp
    ${PROJECT_SOURCE_DIR}/veloria/veloria_c.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/veloria COMPONENT development)

# An installed program finds the library beside it, wherever the prefix is moved to. The system's own folders are
# searched anyway.
file(RELATIVE_PATH library_from_programs /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set_target_properties(veloria_c PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
foreach(program marquen gabarit)
    if(TARGET ${program})
        if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
            set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_programs}")
        endif()
        install(TARGETS ${program} RUNTIME COMPONENT tools)
    endif()
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/veloria)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/veloria-config.cmake.in veloria-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(veloria-config-version.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT veloria-targets NAMESPACE veloria:: DESTINATION ${package_dir} COMPONENT development)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/veloria-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/veloria-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)

# Found from where the file itself lies, so that the prefix can be chosen at installation and moved afterwards.
file(RELATIVE_PATH VELORIA_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
cmake_path(APPEND VELORIA_PC_LIBDIR "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND VELORIA_PC_INCLUDEDIR "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
# A static library hands what it needs on to the host; the shared one has it linked in.
if(NOT BUILD_SHARED_LIBS)
    set(VELORIA_PC_REQUIRES sndfile)
    set(VELORIA_PC_LIBS "-llapack -lblas -lpthread")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/veloria.pc.in veloria.pc @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/veloria-c.pc.in veloria-c.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/veloria.pc ${CMAKE_CURRENT_BINARY_DIR}/veloria-c.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
