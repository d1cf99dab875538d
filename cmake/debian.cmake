# Makes one Debian package for each component.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development python)
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
set(names_python python3-ztlib)
set(names_client ztclient)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION video)
set(own_library
    "libztlib${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.9), python3-numpy, ${own_library}")
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS "${own_library}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "The shared library: pixel formats and their conversion, camera video.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Header, CMake package, pkg-config file and documents.")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "The package ztlib for Python, whose pictures are arrays of numpy.")
set(CPACK_COMPONENT_CLIENT_DESCRIPTION
    "A sample client that records, plays and inspects coded frames, and ztinside beside it.")

# Debian's interpreter looks here. The scripts compile the sources for all of its versions.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/bindings/python/ztlib DESTINATION lib/python3/dist-packages
        COMPONENT python FILES_MATCHING PATTERN *.py PATTERN py.typed
        PATTERN __pycache__ EXCLUDE)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/python/postinst
                                              ${PROJECT_SOURCE_DIR}/cmake/debian/python/prerm)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/compress_manuals.cmake)

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
