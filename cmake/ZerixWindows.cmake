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

# The oldest Windows that has every function which is imported; a test compares them (tests/exports/windows_imports.txt).
set(ZERIX_OLDEST_WINDOWS 6 0)

# What a DLL or a program says of itself: which Windows it needs, and its version. DESCRIPTION is what the file's
# properties show.
function(zerix_windows_properties target description)
  list(GET ZERIX_OLDEST_WINDOWS 0 major)
  list(GET ZERIX_OLDEST_WINDOWS 1 minor)
  target_link_options(${target} PRIVATE
    "LINKER:--major-subsystem-version,${major},--minor-subsystem-version,${minor}"
    "LINKER:--major-os-version,${major},--minor-os-version,${minor}")
  get_target_property(type ${target} TYPE)
  get_target_property(name ${target} OUTPUT_NAME)
  set(file_type VFT_APP)
  set(file_name ${name}.exe)
  if(type STREQUAL "SHARED_LIBRARY")
    set(file_type VFT_DLL)
    set(file_name ${name}.dll)
  endif()
  set(version_resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/version.rc.in ${version_resource} @ONLY)
  target_sources(${target} PRIVATE ${version_resource})
endfunction()

# For other compilers: the C functions' names as NAME.def, and NAME.lib, an import library in the form that theirs have.
# PART is the library's part of api/exports.txt. The C++ classes have this compiler's names, which no other knows.
find_program(LLVM_DLLTOOL NAMES llvm-dlltool REQUIRED)
function(zerix_import_library target part)
  get_target_property(name ${target} OUTPUT_NAME)
  set(list_file ${PROJECT_SOURCE_DIR}/api/exports.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file})
  file(READ ${list_file} text)
  string(REGEX REPLACE "#[^\n]*\n" "" text "${text}")
  string(REGEX MATCH "\\[${part}\\]\n([^[]+)" found "${text}")
  string(STRIP "${CMAKE_MATCH_1}" names)
  set(base ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${name})
  file(CONFIGURE OUTPUT ${base}.def CONTENT "LIBRARY ${name}.dll\nEXPORTS\n${names}\n")
  set(machine i386)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(machine i386:x86-64)
  endif()
  add_custom_command(OUTPUT ${base}.lib COMMAND ${LLVM_DLLTOOL} -m ${machine} -d ${base}.def -l ${base}.lib
                     DEPENDS ${base}.def VERBATIM)
  add_custom_target(${target}_import_library DEPENDS ${base}.lib)
  add_dependencies(${target} ${target}_import_library)
  set_target_properties(${target} PROPERTIES ZERIX_IMPORT_FILES "${base}.def;${base}.lib")
endfunction()
