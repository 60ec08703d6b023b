# Builds the project in SOURCE, which has the one in PROJECT in it by WAY, in WORK. Runs its program as use.cmake does,
# and looks at what it installs.
cmake_minimum_required(VERSION 3.21)

get_filename_component(consumer ${SOURCE}/../consumer ABSOLUTE)
file(REMOVE_RECURSE ${WORK})
set(PREFIX ${WORK}/prefix)
list(APPEND FLAGS -DWAY=${WAY} -DPROJECT=${PROJECT})
include(${CMAKE_CURRENT_LIST_DIR}/build.cmake)

file(GLOB_RECURSE installed RELATIVE ${PREFIX} ${PREFIX}/*)
if(NOT installed STREQUAL "bin/outer")
  message(FATAL_ERROR "installed with the project: ${installed}")
endif()

set(program ${WORK}/outer)
set(SOURCE ${consumer})
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)
