# Configures and builds the project in SOURCE with FLAGS, in WORK, and installs it into the emptied PREFIX.
cmake_minimum_required(VERSION 3.21)

execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK} ${FLAGS} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK} COMMAND_ERROR_IS_FATAL ANY)
set(BUILD_DIR ${WORK})
include(${CMAKE_CURRENT_LIST_DIR}/install.cmake)
