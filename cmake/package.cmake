# Installation: library, header, a CMake package (find_package(ztlib)) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS ztlib EXPORT ztlib-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/ztlib.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ztlib-targets NAMESPACE ztlib:: FILE ztlib-config.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ztlib-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ztlib.pc.in ${PROJECT_BINARY_DIR}/ztlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ztlib-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib)
install(FILES ${PROJECT_BINARY_DIR}/ztlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_VENDOR ztlib)
include(CPack)
