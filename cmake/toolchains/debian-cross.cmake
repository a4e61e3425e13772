# Shared by the toolchain files. Debian installs the libraries of a foreign architecture in separate folders
# beside the native ones: everything except tools has to be found there.
macro(q750_cross processor compiler libraries)
  set(CMAKE_SYSTEM_NAME Linux)
  set(CMAKE_SYSTEM_PROCESSOR ${processor})
  set(CMAKE_C_COMPILER ${compiler}-gcc)
  set(CMAKE_CXX_COMPILER ${compiler}-g++)
  set(CMAKE_LIBRARY_ARCHITECTURE ${libraries})
  set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${libraries}/pkgconfig:/usr/share/pkgconfig)
endmacro()
