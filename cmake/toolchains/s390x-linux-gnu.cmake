# For 64-bit big-endian machines with Debian's cross compiler (g++-s390x-linux-gnu), the libraries of its
# architecture s390x, and qemu-user-static to run the result. Tests that start programs need it registered
# with the kernel (binfmt_misc), which installing that package does.
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
q750_cross(s390x s390x-linux-gnu s390x-linux-gnu)
find_program(Q750_S390X_EMULATOR qemu-s390x-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${Q750_S390X_EMULATOR})
