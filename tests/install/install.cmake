# Installs the build in BUILD_DIR into the emptied PREFIX.
cmake_minimum_required(VERSION 3.21)

file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX} COMMAND_ERROR_IS_FATAL ANY)
