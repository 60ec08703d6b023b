# Builds the project in SOURCE with the library installed in PREFIX, found by WAY, runs it in SOURCE, and compares all
# that it writes with SOURCE/expected_output.txt. For another machine, its libraries are in SYSROOT, and its programs run
# by EMULATOR.
cmake_minimum_required(VERSION 3.21)

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
  set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
  execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND pkg-config --cflags --libs tovrin-config-parser)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND ${COMPILER} --sysroot=${SYSROOT} -std=c++17 -Wall -Wextra -Werror ${SOURCE}/main.cpp -o ${program} ${flags})
  set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
endif()

unset(ENV{TOVRIN_LOGGING})
unset(ENV{TOVRIN_LOGGING_TARGET})
execute_process(COMMAND ${EMULATOR} ${program} vendor.conf.d local.conf.d WORKING_DIRECTORY ${SOURCE}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
file(READ ${SOURCE}/expected_output.txt expected)
if(NOT result STREQUAL "0" OR NOT output STREQUAL expected)
  message(NOTICE "${output}--- expected:\n${expected}---")
  message(FATAL_ERROR "${program} ended with ${result}, or wrote what was not expected")
endif()
