# For 32-bit x86 with Debian's cross compiler (g++-i686-linux-gnu) and the libraries of its architecture i386.
# An amd64 kernel runs the result without an emulator.
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
q750_cross(i686 i686-linux-gnu i386-linux-gnu)
