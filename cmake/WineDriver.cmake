# The kernel driver of tests/windows_driver, which Wine loads, and the test program over it. For the 64-bit
# Windows build; included by tests/.
set(driver_source ${CMAKE_CURRENT_SOURCE_DIR}/windows_driver)
set(driver_folder ${CMAKE_CURRENT_BINARY_DIR}/windows_driver)
set(driver_file ${driver_folder}/zerix_test.inf)
set(driver_wine ${CMAKE_BINARY_DIR}/wine-driver)

# Nothing of the C library, and the kernel's functions alone.
file(GLOB driver_files CONFIGURE_DEPENDS ${driver_source}/driver/*.c)
add_library(zerix_test_driver MODULE ${driver_files})
set_target_properties(zerix_test_driver PROPERTIES PREFIX "" OUTPUT_NAME zerix_test SUFFIX .sys
                                                   LIBRARY_OUTPUT_DIRECTORY ${driver_folder})
target_compile_options(zerix_test_driver PRIVATE -ffreestanding -mno-red-zone)
target_include_directories(zerix_test_driver SYSTEM PRIVATE /usr/x86_64-w64-mingw32/include/ddk)
target_link_options(zerix_test_driver PRIVATE -nostdlib -Wl,--subsystem,native -Wl,--entry,DriverEntry)
target_link_libraries(zerix_test_driver PRIVATE zerix_warnings ntoskrnl)
configure_file(${driver_source}/driver/zerix_test.inf ${driver_file} COPYONLY)

add_executable(zerix_install_driver ${driver_source}/install/install_driver.cpp ${driver_source}/test_devices.cpp)
target_link_libraries(zerix_install_driver PRIVATE setupapi newdev zerix_warnings)

zerix_tests(windows_driver LAYERS api camera sim bus LIBRARIES setupapi newdev)
add_dependencies(windows_driver_tests zerix zerix_test_driver zerix_install_driver)

# A Wine of its own, made anew for every run.
add_test(NAME windows_driver.install COMMAND ${driver_source}/install.sh ${driver_wine}
                                             $<TARGET_FILE:zerix_install_driver> Z:${driver_file})
add_test(NAME windows_driver.remove COMMAND ${driver_source}/remove.sh ${driver_wine})
set_tests_properties(windows_driver.install PROPERTIES FIXTURES_SETUP windows_driver TIMEOUT 340)
set_tests_properties(windows_driver.remove PROPERTIES FIXTURES_CLEANUP windows_driver TIMEOUT 90)
foreach(part IN ITEMS windows_driver windows_driver_night)
  set_tests_properties(${part} PROPERTIES FIXTURES_REQUIRED windows_driver
                                          ENVIRONMENT "WINEPREFIX=${driver_wine};ZERIX_BUS=kernel;ZERIX_TEST_DRIVER=Z:${driver_file}")
endforeach()
set_tests_properties(windows_driver PROPERTIES TIMEOUT 300)
