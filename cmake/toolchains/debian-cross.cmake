# What the toolchain files share. Debian keeps the libraries of a foreign architecture in folders of their own, beside
# those of the machine: all that is found has to be found there, the tools excepted.
macro(q750_cross processor compiler libraries)
  set(CMAKE_SYSTEM_NAME Linux)
  set(CMAKE_SYSTEM_PROCESSOR ${processor})
  set(CMAKE_C_COMPILER ${compiler}-gcc)
  set(CMAKE_CXX_COMPILER ${compiler}-g++)
  set(CMAKE_LIBRARY_ARCHITECTURE ${libraries})
  set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${libraries}/pkgconfig:/usr/share/pkgconfig)
endmacro()
