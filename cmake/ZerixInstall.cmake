# What `cmake --install` puts where. Components are the Debian packages: library, development files, tools.
# Paths are relative to the prefix, so that an installed tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZERIX_CLASS_HEADERS_FOLDER ${CMAKE_INSTALL_INCLUDEDIR}/zerix/classes)
set(ZERIX_DATA_FOLDER ${CMAKE_INSTALL_DATADIR}/zerix)
set(zerix_packaging ${PROJECT_SOURCE_DIR}/packaging)
set(zerix_made ${PROJECT_BINARY_DIR}/packaging)

# The headers of the exported classes, and what they include in turn. Their includes are those of this tree, so
# that they lie in the same folders below one of their own.
function(zerix_class_headers result)
  file(GLOB candidates RELATIVE ${PROJECT_SOURCE_DIR} hal/*.h image/*.h camera/*.h camera/*/*.h)
  set(waiting "")
  foreach(header IN LISTS candidates)
    file(STRINGS ${header} exported REGEX "^class ZERIX_API ")
    if(exported)
      list(APPEND waiting ${header})
    endif()
  endforeach()
  set(found "")
  while(waiting)
    list(POP_FRONT waiting header)
    if(NOT header IN_LIST found)
      list(APPEND found ${header})
      file(STRINGS ${header} includes REGEX "^#include \"(hal|image|camera|tables)/")
      list(TRANSFORM includes REPLACE "^#include \"([^\"]+)\".*" "\\1")
      list(APPEND waiting ${includes})
    endif()
  endwhile()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# ---- The library, and the virtual bus beside it, where the library looks for it.
set_target_properties(zerix_sim_shared PROPERTIES EXPORT_NAME sim)
if(WIN32)
  set_target_properties(zerix PROPERTIES ARCHIVE_OUTPUT_NAME zerix) # for -lzerix on any system
endif()
install(
  TARGETS zerix zerix_sim_shared
  EXPORT zerix
  RUNTIME COMPONENT library
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${ZERIX_CLASS_HEADERS_FOLDER})

if(WIN32) # for other compilers
  foreach(target IN ITEMS zerix zerix_sim_shared)
    install(FILES $<TARGET_PROPERTY:${target},ZERIX_IMPORT_FILES> DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT development)
  endforeach()
endif()

# ---- The place for cameras' units in the system's database of devices. Only the system's own prefix is looked into.
if(NOT WIN32)
  install(FILES ${zerix_packaging}/70-zerix.hwdb DESTINATION lib/udev/hwdb.d COMPONENT library)
endif()

# ---- Headers.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zerix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development FILES_MATCHING PATTERN "*.h")
zerix_class_headers(class_headers)
foreach(header IN LISTS class_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${ZERIX_CLASS_HEADERS_FOLDER}/${folder}
          COMPONENT development)
endforeach()

# ---- How other builds find it: CMake and pkg-config.
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/zerix)
install(EXPORT zerix NAMESPACE zerix:: FILE zerix-config.cmake DESTINATION ${cmake_folder} COMPONENT development)
write_basic_package_version_file(${zerix_made}/zerix-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${zerix_made}/zerix-config-version.cmake DESTINATION ${cmake_folder} COMPONENT development)

set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(ZERIX_PC_PREFIX /usr)
else()
  file(RELATIVE_PATH to_prefix /${pkgconfig_folder} /)
  string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
  set(ZERIX_PC_PREFIX "\${pcfiledir}/${to_prefix}")
endif()
foreach(name IN ITEMS zerix zerix-sim)
  configure_file(${zerix_packaging}/${name}.pc.in ${zerix_made}/${name}.pc @ONLY)
  install(FILES ${zerix_made}/${name}.pc DESTINATION ${pkgconfig_folder} COMPONENT development)
endforeach()

# ---- The tool. It runs from the build's bin/, next to lib/, and from the prefix, whose libraries may be in another
# folder. In /usr the loader finds the library by itself.
if(TARGET zerix_tool)
  file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND NOT to_libraries STREQUAL "../lib")
    set_property(TARGET zerix_tool APPEND PROPERTY INSTALL_RPATH "$ORIGIN/${to_libraries}")
  endif()
  install(TARGETS zerix_tool RUNTIME COMPONENT tools)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    install(CODE "file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/zerix\")"
            COMPONENT tools)
  endif()
endif()
file(GLOB racks CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/racks/*.toml)
install(FILES ${racks} DESTINATION ${ZERIX_DATA_FOLDER}/racks COMPONENT tools)

if(NOT WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/zerix.bash RENAME zerix
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)

  # Manual pages are packed, as Debian's are.
  find_program(GZIP gzip REQUIRED)
  foreach(page IN ITEMS zerix.1 zerix.conf.5)
    set(source ${PROJECT_SOURCE_DIR}/docs/man/${page})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    execute_process(COMMAND ${GZIP} -9nc ${source} OUTPUT_FILE ${zerix_made}/${page}.gz
                    COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "[0-9]$" section ${page})
    install(FILES ${zerix_made}/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT tools)
  endforeach()
endif()

# ---- Documents, with links that hold where they lie, and the guide's programs beside them.
file(RELATIVE_PATH to_headers /${CMAKE_INSTALL_DOCDIR} /${CMAKE_INSTALL_INCLUDEDIR})
foreach(document IN ITEMS guide configuration virtual-bus scenes cameras linux windows)
  set(source ${PROJECT_SOURCE_DIR}/docs/${document}.md)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  file(READ ${source} text)
  string(REPLACE "](../examples" "](examples" text "${text}")
  string(REPLACE "](../include/" "](${to_headers}/" text "${text}")
  file(CONFIGURE OUTPUT ${zerix_made}/${document}.md CONTENT "${text}" @ONLY)
  install(FILES ${zerix_made}/${document}.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.c" PATTERN "*.h" PATTERN "*.cpp" PATTERN "*.conf")
install(FILES ${zerix_packaging}/examples.cmake RENAME CMakeLists.txt
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)

# ---- The licence, the changes, and the notices of what others wrote. Each Debian package has them in its own place.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${zerix_packaging}/debian/copyright
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT notices)

include(ZerixPackage)
