# What the Windows builds need beside the rest: flags, and the libraries that are headers alone.

# A library that is loaded anywhere needs nothing beside the system's own.
add_link_options(-static)
add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX)

# The stack is aligned to 16 bytes only, and g++ takes 32 for granted where it saves a wide register.
add_compile_options(-Wa,-muse-unaligned-vector-move)

# Floating point is SSE2, so that its arithmetic is the 64-bit build's; the 32-bit callers' stacks are
# aligned to 4 bytes.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
endif()

# Debian's header-only libraries, without the rest of /usr/include, which is another system's.
set(ZERIX_HOST_HEADERS ${CMAKE_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${ZERIX_HOST_HEADERS})
foreach(folder IN ITEMS toml++ fmt CLI nlohmann)
  file(CREATE_LINK /usr/include/${folder} ${ZERIX_HOST_HEADERS}/${folder} SYMBOLIC)
endforeach()
include_directories(SYSTEM ${ZERIX_HOST_HEADERS})

add_library(fmt::fmt-header-only INTERFACE IMPORTED)
set_target_properties(fmt::fmt-header-only PROPERTIES INTERFACE_COMPILE_DEFINITIONS FMT_HEADER_ONLY=1)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
