# Toolchain for 32-bit ARM Linux with hardware floating point: Debian's cross compiler, and QEMU to
# run what it makes.
#   ZOLDEBUG_ARM_SYSROOT  folder with Qt for that machine, as scripts/arm-sysroot makes it

set(ZOLDEBUG_ARM_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot"
    CACHE PATH "Folder with Qt for 32-bit ARM")
get_filename_component(zoldebug_arm_sysroot "${ZOLDEBUG_ARM_SYSROOT}" ABSOLUTE)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZOLDEBUG_ARM_SYSROOT)
set(zoldebug_arm_triplet arm-linux-gnueabihf)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER ${zoldebug_arm_triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${zoldebug_arm_triplet})

# The compiler brings its own C library; the sysroot is where Qt comes from, and nothing else.
set(CMAKE_FIND_ROOT_PATH "${zoldebug_arm_sysroot}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Qt's libraries need others, which the linker does not look for in the sysroot by itself.
foreach(folder usr/lib lib)
    foreach(kind EXE SHARED MODULE)
        string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT
            " -Wl,-rpath-link,${zoldebug_arm_sysroot}/${folder}/${zoldebug_arm_triplet}")
    endforeach()
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${zoldebug_arm_sysroot}")
