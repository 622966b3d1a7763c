# The management controller's processor, 32-bit ARM, by Debian's cross compiler; its programs run here under qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc) # GoogleTest asks for one
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # which would note what GCC 7 changed; everything here is of one compiler
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)

# What the compiler does not bring is fetched once, and again when the list has changed.
set(ARMHF_SYSROOT ${CMAKE_BINARY_DIR}/sysroot CACHE PATH "libraries and headers of the target")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ARMHF_SYSROOT)
if(${CMAKE_CURRENT_LIST_DIR}/armhfSysroot.sh IS_NEWER_THAN ${ARMHF_SYSROOT}) # or there is none
    message(STATUS "Fetching libraries of 32-bit ARM into ${ARMHF_SYSROOT}")
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/armhfSysroot.sh ${ARMHF_SYSROOT} COMMAND_ERROR_IS_FATAL ANY)
endif()

# Never this machine's own; its programs serve.
set(CMAKE_FIND_ROOT_PATH ${ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
