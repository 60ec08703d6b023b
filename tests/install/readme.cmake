# Builds the program in PROJECT/README.md with the library installed in PREFIX, runs it in PROJECT, and compares what it
# prints with the comment in its last line.
cmake_minimum_required(VERSION 3.21)
include(${CMAKE_CURRENT_LIST_DIR}/pkg_config.cmake)

file(READ ${PROJECT}/README.md readme)
if(NOT readme MATCHES "\n```cpp\n(.*// (tovrin-[^\n]*)\n}\n)```\n")
  message(FATAL_ERROR "No program in README.md, or no comment with what it prints")
endif()
set(program "${CMAKE_MATCH_1}")
set(expected "${CMAKE_MATCH_2}\n")

separate_arguments(EMULATOR UNIX_COMMAND "${EMULATOR}")
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/readme.cpp "${program}")
pkg_config_flags(flags)
execute_process(COMMAND_ERROR_IS_FATAL ANY
  COMMAND ${COMPILER} --sysroot=${SYSROOT} -std=c++17 -Wall -Wextra -Werror ${WORK}/readme.cpp -o ${WORK}/readme ${flags})

set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
execute_process(COMMAND ${EMULATOR} ${WORK}/readme WORKING_DIRECTORY ${PROJECT} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "printed ${output}instead of ${expected}")
endif()
