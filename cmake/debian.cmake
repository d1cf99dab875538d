# Makes one Debian package for each component.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(ZTLIB_CLIENT)
  list(APPEND CPACK_COMPONENTS_ALL client)
endif()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The ztlib developers <developers@ztlib.invalid>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(names_runtime libztlib${PROJECT_VERSION_MAJOR})
set(names_development libztlib-dev)
set(names_client ztclient)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION video)
set(own_library
    "libztlib${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "The shared library: pixel formats and their conversion, camera video.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Header, CMake package, pkg-config file and documents.")
set(CPACK_COMPONENT_CLIENT_DESCRIPTION
    "A sample client that records, plays and inspects coded frames, and ztinside beside it.")

# Every package has these files under /usr/share/doc.
set(CHANGELOG_VERSION ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in
               ${PROJECT_BINARY_DIR}/changelog.Debian @ONLY)
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND ${GZIP} -9nfk ${PROJECT_BINARY_DIR}/changelog.Debian
                COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${names_${component}})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.Debian.gz ${PROJECT_SOURCE_DIR}/cmake/debian/copyright
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${names_${component}}
          COMPONENT ${component})
endforeach()
