# Installs the library, its header and documents, a CMake package (find_package(ztlib)) and a
# pkg-config file. Packs the library, its development files and the client for Debian, and a zip for
# Windows.
include(CMakePackageConfigHelpers)

install(TARGETS ztlib EXPORT ztlib-targets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/include/ztlib.h ${PROJECT_SOURCE_DIR}/include/ztlib.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development)
install(EXPORT ztlib-targets NAMESPACE ztlib:: FILE ztlib-config.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ztlib-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
# The path is relative, so that the folder may be moved.
file(RELATIVE_PATH PKGCONFIG_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ztlib.pc.in ${PROJECT_BINARY_DIR}/ztlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ztlib-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ztlib COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/ztlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

set(CPACK_PACKAGE_VENDOR ztlib)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ztlib-${PROJECT_VERSION}-win64)
  set(documents ${CMAKE_INSTALL_DOCDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/windows/README.txt DESTINATION .)
  # For the linker of Visual Studio; what reads neither makes its own from the .def file.
  install(FILES ${PROJECT_BINARY_DIR}/ztlib.lib ${PROJECT_SOURCE_DIR}/main/ztlib.def
          DESTINATION ${CMAKE_INSTALL_LIBDIR})
  set(sources .)
  install(FILES ${PROJECT_BINARY_DIR}/ztlib.dll.debug DESTINATION symbols)
  # The licences are those of everything that is linked in statically.
  if(ZTLIB_WINDOWS_DEPS)
    install(DIRECTORY ${ZTLIB_WINDOWS_DEPS}/share/licenses/ DESTINATION licenses)
  endif()
else()
  set(CPACK_GENERATOR DEB)
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/libztlib-dev)
  set(sources ${documents})
  include(${PROJECT_SOURCE_DIR}/cmake/debian.cmake)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
              ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${documents} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${sources} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/bindings/dotnet/Ztlib.cs
              ${PROJECT_SOURCE_DIR}/bindings/dotnet/Ztlib.dll.config
        DESTINATION ${sources}/bindings/dotnet COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${documents} COMPONENT development)
include(CPack)
