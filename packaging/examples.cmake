# Builds the programs of the guide against an installed Zerix:
#     cmake -S . -B /tmp/examples && cmake --build /tmp/examples
# A prefix of its own is given as -DCMAKE_PREFIX_PATH=PREFIX.
cmake_minimum_required(VERSION 3.16)
project(zerix_examples LANGUAGES C CXX)

find_package(zerix 2.0 REQUIRED)
find_package(Threads REQUIRED)

# Those that use the classes need C++20; the C interface needs C11.
set(CMAKE_C_STANDARD 11)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)

file(GLOB programs ${CMAKE_CURRENT_SOURCE_DIR}/*.c ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
foreach(source IN LISTS programs)
  get_filename_component(name ${source} NAME_WE)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE zerix::zerix zerix::sim Threads::Threads)
endforeach()
