# The Debian packages of the databases' extensions, each where its extension is built:
# nimbopcua-sqlite, and postgresql-NN-nimbopcua for the PostgreSQL whose pg_config was found.

if(TARGET nimbopcua_sqlite)
  list(APPEND CPACK_COMPONENTS_ALL sqlite)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_NAME nimbopcua-sqlite)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_DEPENDS "nimbopcua (= ${NIMB_PACKAGE_VERSION})")
  set(CPACK_DEBIAN_SQLITE_PACKAGE_SUGGESTS sqlite3)
  set(CPACK_DEBIAN_SQLITE_DESCRIPTION
      "OPC UA servers as tables of SQLite
A loadable extension that makes the variables of industrial OPC UA servers rows
of a table: read with SELECT, written with UPDATE, followed with a table of
changes.")
endif()

if(TARGET nimb_postgresql)
  get_property(major GLOBAL PROPERTY NIMB_POSTGRESQL_MAJOR)
  list(APPEND CPACK_COMPONENTS_ALL postgresql)
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_NAME "postgresql-${major}-nimbopcua")
  set(CPACK_DEBIAN_POSTGRESQL_PACKAGE_DEPENDS
      "nimbopcua (= ${NIMB_PACKAGE_VERSION}), postgresql-${major}")
  set(CPACK_DEBIAN_POSTGRESQL_DESCRIPTION
      "OPC UA servers as foreign tables of PostgreSQL ${major}
A foreign data wrapper: the variables of industrial OPC UA servers are columns
or rows of foreign tables, read with SELECT, written with UPDATE, followed with
a function.")
endif()

foreach(upper SQLITE POSTGRESQL)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION database)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ON)
endforeach()
