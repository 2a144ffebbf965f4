# The Debian packages nimbopcua (what a database server and a plant engineer need) and
# nimbopcua-dev (what a host is compiled with), and those of the databases' extensions.
# scripts/package builds them.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "${NIMB_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Packages built on different Debian releases depend on different libraries: tell them apart.
set(debian_release "")
if(EXISTS /etc/os-release)
  file(STRINGS /etc/os-release version_id REGEX "^VERSION_ID=")
  string(REGEX MATCH "[0-9]+" debian_release "${version_id}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE "1~deb${debian_release}")
set(NIMB_PACKAGE_VERSION "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME nimbopcua)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION database)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS nimbopcua-sqlite)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "OPC UA client adapter for a database host, with tools
The shared library lets a host database read, write, browse and follow the
values of industrial OPC UA servers through its callout interface.
.
nimbhost calls the library as a host does, and nimb-demo-server is a small
plant to try it on. Extensions of SQLite and PostgreSQL that make a plant a
table have packages of their own.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME nimbopcua-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "nimbopcua (= ${NIMB_PACKAGE_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "OPC UA client adapter for a database host, development files
The C header that a host includes to load the adapter's shared library, and a
CMake package that finds both.")

include(NimbPackageHosts)

# Every package has a copyright and a changelog of its own.
string(TIMESTAMP NIMB_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)  # SOURCE_DATE_EPOCH if set
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(folder "${PROJECT_BINARY_DIR}/debian/${package}")
  configure_file("${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in" "${folder}/changelog.Debian"
                 @ONLY)
  execute_process(COMMAND gzip -9nf "${folder}/changelog.Debian" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${folder}/changelog.Debian.gz" "${PROJECT_SOURCE_DIR}/packaging/debian/copyright"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" COMPONENT ${component})
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/packaging/debian/lintian-overrides"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" RENAME nimbopcua
        COMPONENT runtime)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/debian/lintian-overrides-sqlite"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" RENAME nimbopcua-sqlite
        COMPONENT sqlite)

include(CPack)
