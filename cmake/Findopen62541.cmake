# Finds the OPC UA stack and defines open62541::open62541. Used in place of the stack's own CMake
# package because Debian's insists on the directories of its nodeset compiler, which come with
# another package, need Python and are of no use here.

find_path(open62541_INCLUDE_DIR open62541/config.h)
find_library(open62541_LIBRARY open62541)
mark_as_advanced(open62541_INCLUDE_DIR open62541_LIBRARY)

if(open62541_INCLUDE_DIR)
  set(open62541_VERSION "")
  foreach(part MAJOR MINOR PATCH)
    file(STRINGS "${open62541_INCLUDE_DIR}/open62541/config.h" line
         REGEX "^#define UA_OPEN62541_VER_${part} +[0-9]+" LIMIT_COUNT 1)
    string(REGEX MATCH "[0-9]+$" number "${line}")
    list(APPEND open62541_VERSION "${number}")
  endforeach()
  list(JOIN open62541_VERSION "." open62541_VERSION)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(open62541
  REQUIRED_VARS open62541_LIBRARY open62541_INCLUDE_DIR VERSION_VAR open62541_VERSION
  HANDLE_VERSION_RANGE)

if(open62541_FOUND AND NOT TARGET open62541::open62541)
  add_library(open62541::open62541 SHARED IMPORTED)
  set_target_properties(open62541::open62541 PROPERTIES
    IMPORTED_LOCATION "${open62541_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${open62541_INCLUDE_DIR}")
endif()
