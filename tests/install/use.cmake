# Builds the project in SOURCE with the library of this KIND that is installed in PREFIX, found by WAY, and runs it; see
# run.cmake. For another machine, its libraries are in SYSROOT, and its programs run by EMULATOR.
cmake_minimum_required(VERSION 3.21)
include(${CMAKE_CURRENT_LIST_DIR}/pkg_config.cmake)

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
separate_arguments(EMULATOR UNIX_COMMAND "${EMULATOR}")
get_filename_component(name ${SOURCE} NAME)
set(program ${WORK}/${name})

if(WAY STREQUAL "find_package")
  execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER}
            -DCMAKE_SYSROOT=${SYSROOT} -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND} --build ${WORK})
else()
  pkg_config_flags(flags)
  execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND ${COMPILER} --sysroot=${SYSROOT} -std=c++17 -Wall -Wextra -Werror ${SOURCE}/main.cpp -o ${program} ${flags})
  set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
endif()

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)
