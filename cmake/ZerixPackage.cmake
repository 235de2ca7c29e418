# What `cpack` makes of an installation: Debian packages, one for each component; on Windows one archive.
# Configure with the prefix /usr (preset "package") for packages that lie where Debian's do.
set(CPACK_PACKAGE_NAME zerix)
set(CPACK_PACKAGE_VENDOR Zerix)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Zerix maintainers <maintainers@zerix.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL library development tools)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
  set(CPACK_PACKAGE_FILE_NAME zerix-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR}-windows)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_PACKAGE_SOURCE zerix)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  if(ZERIX_I386)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  endif()

  set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
  get_target_property(soversion zerix SOVERSION)
  set(library_package libzerix${soversion})

  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "driver library for scientific FireWire cameras
Lists the cameras of the family on the bus, opens them, changes their settings
and takes frames, for microscopes and telescopes.

A virtual bus of virtual cameras comes with it, which is used only when asked
for.")
  # What programs depend on that are linked with it, and that the loader is told of it.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${zerix_packaging}/debian/triggers)

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzerix-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${same_version}")
  set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "driver library for scientific FireWire cameras (development files)
The headers of the C interface and of the exported C++ classes, what CMake and
pkg-config need, the guide and its programs.")

  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zerix-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS bash-completion)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} ${same_version}")
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "command-line tool for scientific FireWire cameras
Lists the cameras on the bus, shows what they can do, takes pictures with them
and records their streams, in TIFF, FITS, PNG and raw files. With no camera at
hand it uses virtual ones.")

  # Debian wants these with every package; the licence is in the file "copyright". An installation without packages
  # has no use for them.
  execute_process(COMMAND ${GZIP} -9nc ${zerix_packaging}/debian/changelog
                  OUTPUT_FILE ${zerix_made}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${GZIP} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md
                  OUTPUT_FILE ${zerix_made}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    install(FILES ${zerix_packaging}/debian/copyright ${zerix_made}/changelog.Debian.gz ${zerix_made}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component}
            EXCLUDE_FROM_ALL)
  endforeach()
endif()
include(CPack)
