# What every target of this project shares: the language level, the include root, hidden symbols,
# warnings, and position-independent code, because every floor ends up in the shared library.

option(NIMB_WERROR "Treat warnings as errors" OFF)
option(NIMB_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(NIMB_HARDEN "Build with stack protector, fortified libc calls and link-time optimisation" OFF)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
# One place for what is run and loaded, so that scripts need not know the source folders.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

add_library(nimb_options INTERFACE)
target_compile_features(nimb_options INTERFACE cxx_std_20)
target_include_directories(nimb_options INTERFACE
  "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/include")
target_compile_options(nimb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wformat=2 -Wundef
  $<$<BOOL:${NIMB_WERROR}>:-Werror>)

if(NIMB_SANITIZE)
  # float-cast-overflow is in neither group, and values from the wire are cast all the time.
  set(sanitizers -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all)
  target_compile_options(nimb_options INTERFACE ${sanitizers} -fno-omit-frame-pointer)
  target_link_options(nimb_options INTERFACE ${sanitizers})
endif()

if(NIMB_HARDEN)
  include(NimbHarden)
endif()

# nimb_floor(NAME SOURCES ... USES ...): one folder of src/ as an object library named nimb_NAME.
# USES names the floors and packages whose headers it includes.
function(nimb_floor name)
  cmake_parse_arguments(FLOOR "" "" "SOURCES;USES" ${ARGN})
  add_library(nimb_${name} OBJECT ${FLOOR_SOURCES})
  target_link_libraries(nimb_${name} PUBLIC nimb_options ${FLOOR_USES})
endfunction()

# nimb_objects(OUT TARGET...): the targets and every object library that they use. CMake links an
# object library's objects only into what names it directly, so a program has to name them all.
function(nimb_objects out)
  set(found "")
  set(pending ${ARGN})
  while(pending)
    list(POP_FRONT pending target)
    if(target IN_LIST found OR NOT TARGET ${target})
      continue()
    endif()
    list(APPEND found ${target})
    get_target_property(type ${target} TYPE)
    get_target_property(uses ${target} INTERFACE_LINK_LIBRARIES)
    if(type STREQUAL "OBJECT_LIBRARY" AND uses)
      list(APPEND pending ${uses})
    endif()
  endwhile()
  set(${out} ${found} PARENT_SCOPE)
endfunction()
