# libveloria, linked from the objects of the rooms: shared, or static with BUILD_SHARED_LIBS=OFF.
add_library(veloria $<TARGET_OBJECTS:veloria_core>)
add_library(veloria::veloria ALIAS veloria)
set_target_properties(veloria PROPERTIES
    LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_features(veloria INTERFACE cxx_std_11)
target_include_directories(veloria INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(veloria PRIVATE PkgConfig::sndfile LAPACK::LAPACK Threads::Threads)

if(BUILD_SHARED_LIBS)
    set(exports ${PROJECT_SOURCE_DIR}/cmake/veloria.map)
    target_link_options(veloria PRIVATE LINKER:--version-script=${exports})
    set_property(TARGET veloria APPEND PROPERTY LINK_DEPENDS ${exports})
endif()
