# What every folder of the tree shares: language, warnings, sanitizers, output folders, and the two
# functions that make a layer and its tests.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_package(Threads REQUIRED)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

option(ZERIX_PRECOMPILE "Precompile the headers that the tests share" OFF)
option(ZERIX_I386 "Build for i386; floating point is SSE2, so that its arithmetic is the 64-bit one's" OFF)

# Of the tool and its tests.
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
if(NOT ZERIX_I386)
  find_package(PNG REQUIRED)
  find_package(TIFF REQUIRED)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(CFITSIO REQUIRED IMPORTED_TARGET cfitsio)
endif()

# Pixels must not depend on whether the compiler fuses a multiplication and an addition.
add_compile_options(-ffp-contract=off)

# Every target of ours links this; code from elsewhere that is built along (GoogleTest) does not.
add_library(zerix_warnings INTERFACE)
target_compile_options(zerix_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

if(ZERIX_I386)
  add_compile_options(-m32 -msse2 -mfpmath=sse)
  add_link_options(-m32)
endif()

set(ZERIX_SANITIZE "" CACHE STRING "Sanitizers of the build, as -fsanitize takes them")
if(ZERIX_SANITIZE)
  add_compile_options(-fsanitize=${ZERIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZERIX_SANITIZE})
  # With a sanitizer's checks in between, g++ sees uninitialised memory in the standard library that is none.
  target_compile_options(zerix_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# One folder, one layer: every source file beside the CMakeLists.txt (and in the sub-folders named)
# becomes the static library zerix_NAME, which links the layers below it that are named.
function(zerix_layer name)
  cmake_parse_arguments(ARG "" "" "FOLDERS;LAYERS;LIBRARIES" ${ARGN})
  set(patterns ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  foreach(folder IN LISTS ARG_FOLDERS)
    list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  if(NOT sources)
    add_library(zerix_${name} INTERFACE)
    set(scope INTERFACE)
  else()
    add_library(zerix_${name} STATIC ${sources})
    set(scope PUBLIC)
  endif()
  target_include_directories(zerix_${name} ${scope} ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  list(TRANSFORM ARG_LAYERS PREPEND zerix_)
  if(sources)
    target_link_libraries(zerix_${name} PRIVATE zerix_warnings)
  endif()
  target_link_libraries(zerix_${name} ${scope} ${ARG_LAYERS} ${ARG_LIBRARIES} Threads::Threads ${CMAKE_DL_LIBS})
endfunction()
