# Hardening of what is shipped: the library parses bytes from the network inside a database process.
# scripts/check-elf reads the finished library and fails when one of these got lost.

include(CheckCXXSourceCompiles)
include(CheckIPOSupported)

# Level 3 also guards buffers whose size is known only at run time; older tool chains lack it.
set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -Werror")
check_cxx_source_compiles("#include <cstring>\nint main() { return 0; }" NIMB_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
if(NIMB_FORTIFY_3)
  set(fortify 3)
else()
  set(fortify 2)
endif()

target_compile_options(nimb_options INTERFACE
  -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify})
target_link_options(nimb_options INTERFACE
  -Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

check_ipo_supported(RESULT NIMB_IPO_WORKS OUTPUT reason LANGUAGES CXX)
if(NIMB_IPO_WORKS)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
else()
  message(STATUS "Link-time optimisation is not available: ${reason}")
endif()
