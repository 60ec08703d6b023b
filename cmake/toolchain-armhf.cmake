# Builds for armhf, the 32-bit target, against the sysroot that scripts/armhf-sysroot makes. What is built runs in the
# emulator, with the libraries of the sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# No notes on arguments that GCC 6 passed otherwise: one compiler builds everything.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/armhf-sysroot --where
  OUTPUT_VARIABLE CMAKE_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${CMAKE_SYSROOT}/.stamp)
  message(FATAL_ERROR "There is nothing in ${CMAKE_SYSROOT} to build with: scripts/armhf-sysroot makes it.")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
