# Builds the program in PROJECT/README.md with the library installed in PREFIX, runs it in PROJECT, and compares what it
# prints with the comment in its last line.
cmake_minimum_required(VERSION 3.21)

file(READ ${PROJECT}/README.md readme)
if(NOT readme MATCHES "\n```cpp\n(.*// (tovrin-[^\n]*)\n}\n)```\n")
  message(FATAL_ERROR "No program in README.md, or no comment with what it prints")
endif()
set(program "${CMAKE_MATCH_1}")
set(expected "${CMAKE_MATCH_2}\n")

separate_arguments(EMULATOR UNIX_COMMAND "${EMULATOR}")
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/readme.cpp "${program}")
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND pkg-config --cflags --libs tovrin-config-parser)
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND_ERROR_IS_FATAL ANY
  COMMAND ${COMPILER} --sysroot=${SYSROOT} -std=c++17 -Wall -Wextra -Werror ${WORK}/readme.cpp -o ${WORK}/readme ${flags})

set(ENV{LD_LIBRARY_PATH} ${PREFIX}/${LIBDIR})
execute_process(COMMAND ${EMULATOR} ${WORK}/readme WORKING_DIRECTORY ${PROJECT} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "printed ${output}instead of ${expected}")
endif()
