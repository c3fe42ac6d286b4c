# Headers, the tables of rows that they include, libraries, the CMake package and the pkg-config files.
#
#   include/ZEL/ include/DS/  the library's headers
#   include/zelnode/NOD       the node layer's
#   include/zelhost/BAS ...   the host's, under an include root of their own: an application that
#                             brings the real sibling libraries leaves this root out
include(CMakePackageConfigHelpers)

zel_public_files(zel_headers h)
zel_public_files(zel_tables def)
foreach(file IN LISTS zel_headers zel_tables)
    cmake_path(GET file PARENT_PATH folder)
    if(folder STREQUAL "ZEL" OR folder STREQUAL "DS")
        install(FILES "${PROJECT_SOURCE_DIR}/${file}"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${folder}")
    elseif(folder STREQUAL "NOD")
        install(FILES "${PROJECT_SOURCE_DIR}/node/${file}"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zelnode/${folder}")
    else()
        install(FILES "${PROJECT_SOURCE_DIR}/host/${file}"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/zelhost/${folder}")
    endif()
endforeach()

set(zel_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/ZEL")

install(TARGETS zelhost ZEL zelnode EXPORT ZELTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(ZEL_BUILD_TOOLS)
    install(FILES "${PROJECT_SOURCE_DIR}/docs/zel.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
endif()
install(EXPORT ZELTargets NAMESPACE ZEL:: DESTINATION "${zel_package_dir}")

configure_package_config_file(cmake/ZELConfig.cmake.in "${PROJECT_BINARY_DIR}/ZELConfig.cmake"
    INSTALL_DESTINATION "${zel_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZELConfig.cmake" "${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake"
    DESTINATION "${zel_package_dir}")

# A pkg-config file finds its own prefix, so that an installed tree can be moved.
file(RELATIVE_PATH zel_pc_to_prefix
    "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
foreach(package zel zelnode)
    configure_file(cmake/${package}.pc.in "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${package}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()
