# What an installation holds: the library, its headers, what CMake and pkg-config find them by, and the command with its
# manuals.
include(CMakePackageConfigHelpers)

list(JOIN TOVRIN_HOST_MODULES " " TOVRIN_HOST_MODULES_TEXT)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TovrinConfigParser)

install(TARGETS tovrin_config_parser EXPORT TovrinConfigParserTargets DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/tovrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
if(TARGET tovrin-config)
  install(TARGETS tovrin-config DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES man/tovrin-config.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES man/tovrin.conf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
  install(FILES completion/tovrin-config DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

install(EXPORT TovrinConfigParserTargets NAMESPACE Tovrin:: DESTINATION ${package_dir})
configure_package_config_file(cmake/TovrinConfigParserConfig.cmake.in TovrinConfigParserConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TovrinConfigParserConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/TovrinConfigParserConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/TovrinConfigParserConfigVersion.cmake
  DESTINATION ${package_dir})

# Relative to where the .pc file lies, so that an installation can be moved, as the CMake package can.
file(RELATIVE_PATH TOVRIN_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" TOVRIN_PC_TO_PREFIX "${TOVRIN_PC_TO_PREFIX}")
file(RELATIVE_PATH TOVRIN_PREFIX_TO_LIBDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH TOVRIN_PREFIX_TO_INCLUDEDIR ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
# pkg-config looks for these even when it is not asked for --static, so only the static library names them.
set(TOVRIN_PC_REQUIRES_PRIVATE "")
if(TOVRIN_LIBRARY_KIND STREQUAL "STATIC")
  list(JOIN TOVRIN_HOST_MODULES ", " TOVRIN_PC_REQUIRES_PRIVATE)
endif()
configure_file(cmake/tovrin-config-parser.pc.in tovrin-config-parser.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tovrin-config-parser.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
