# The project built in the ways that this build is not, with its compiler and flags, so that a compiler cache has most of
# it already.
set(flags
  -G ${CMAKE_GENERATOR} -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE} -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
  -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER} -DTOVRIN_WERROR=${TOVRIN_WERROR})

# Static, or shared where this build is static.
set(other_kind STATIC)
set(other_is_shared OFF)
if(TOVRIN_LIBRARY_KIND STREQUAL "STATIC")
  set(other_kind SHARED)
  set(other_is_shared ON)
endif()
string(TOLOWER ${other_kind} other)
set(other_prefix ${CMAKE_CURRENT_BINARY_DIR}/${other}_prefix)

set(other_flags ${flags} -DBUILD_SHARED_LIBS=${other_is_shared} -DCMAKE_INSTALL_LIBDIR=${CMAKE_INSTALL_LIBDIR}
  -DTOVRIN_BUILD_TESTS=OFF -DTOVRIN_BUILD_TOOL=OFF)
add_test(NAME install/${other}_library
  COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DWORK=${CMAKE_CURRENT_BINARY_DIR}/${other}_library
          "-DFLAGS=${other_flags}" -DPREFIX=${other_prefix} -P ${CMAKE_CURRENT_SOURCE_DIR}/build.cmake)
set_tests_properties(install/${other}_library PROPERTIES FIXTURES_SETUP ${other}_installation TIMEOUT 600)
tovrin_add_user_tests(${other}_consumer ${CMAKE_CURRENT_SOURCE_DIR}/consumer ${other_prefix} ${other_kind})
foreach(way find_package pkg_config)
  set_tests_properties(install/${other}_consumer_by_${way} PROPERTIES FIXTURES_REQUIRED ${other}_installation)
endforeach()

# As a part of somebody else's project.
foreach(way add_subdirectory fetch_content)
  add_test(NAME install/subproject_by_${way}
    COMMAND ${CMAKE_COMMAND} "-DFLAGS=${flags}" -DWAY=${way} -DPROJECT=${PROJECT_SOURCE_DIR}
            -DSOURCE=${CMAKE_CURRENT_SOURCE_DIR}/subproject -DWORK=${CMAKE_CURRENT_BINARY_DIR}/subproject_by_${way}
            -P ${CMAKE_CURRENT_SOURCE_DIR}/subproject.cmake)
  set_tests_properties(install/subproject_by_${way} PROPERTIES TIMEOUT 600)
endforeach()
