# The files of an installation, by component: runtime (the library that hosts load), development (headers, CMake package,
# pkg-config file, guide and examples), virtual (the library with the virtual scanner), tools (the command line and its
# worker), sane (the SANE back end) and share (the network server).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The headers that hosts may include. They are installed in one folder, included by file name alone, and include no
# header that is not listed here.
set(q750_public_headers
  Sources/driver/ScannerInterface.h
  Sources/driver/DriverGlobals.h
  Sources/exceptions/Exceptions.h
  Sources/elements/AliasElem.h
  Sources/elements/BinaryElem.h
  Sources/elements/BooleanElem.h
  Sources/elements/CompositeElem.h
  Sources/elements/DataElem.h
  Sources/elements/DoubleElem.h
  Sources/elements/Element.h
  Sources/elements/ElementIterator.h
  Sources/elements/ElementVisitor.h
  Sources/elements/IntegerElem.h
  Sources/elements/LazyEvalElem.h
  Sources/elements/ListElem.h
  Sources/elements/MapElem.h
  Sources/elements/NonterminalElem.h
  Sources/elements/NullElem.h
  Sources/elements/OperationElem.h
  Sources/elements/StringElem.h
  Sources/elements/TerminalElem.h
  Sources/messaging/ObjectStore.h
  Sources/messaging/XMLEncoding.h
  Sources/messaging/XMLSAXParser.h
  Sources/messaging/XMLVisitor.h
  Sources/utilities/Runnable.h
  Sources/utilities/Semaphore.h
  Sources/utilities/StringUtils.h
  Sources/USBScanProtocol/USBScanProtocol.h
  Sources/PPM2TIFFWrapper/PPM2TIFFWrapper.h
  Sources/BitmapExport/BitmapExport.h
  Sources/DebugBridge/DebugBridge.h
  platform/data/Data.h
  platform/values/Dictionary.h)
list(TRANSFORM q750_public_headers PREPEND ${PROJECT_SOURCE_DIR}/)

set(q750_header_folder ${CMAKE_INSTALL_INCLUDEDIR}/quenvar-q750)
set(q750_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/QuenvarQ750)

# Hosts that load the library as a plug-in use a target that links nothing.
add_library(quenvar-q750-headers INTERFACE)
set_target_properties(quenvar-q750-headers PROPERTIES EXPORT_NAME headers)
foreach(target IN ITEMS quenvar-q750 quenvar-q750-headers)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${q750_header_folder}>)
endforeach()
# The C++ headers need C++20. Projects in C ignore this, and hosts that load the library use the other target.
target_compile_features(quenvar-q750 INTERFACE cxx_std_20)

install(TARGETS quenvar-q750 quenvar-q750-headers EXPORT QuenvarQ750Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES ${q750_public_headers} DESTINATION ${q750_header_folder} COMPONENT development)
install(EXPORT QuenvarQ750Targets NAMESPACE QuenvarQ750:: DESTINATION ${q750_package_folder} COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuenvarQ750Config.cmake.in
  ${PROJECT_BINARY_DIR}/QuenvarQ750Config.cmake
  INSTALL_DESTINATION ${q750_package_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuenvarQ750ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuenvarQ750Config.cmake ${PROJECT_BINARY_DIR}/QuenvarQ750ConfigVersion.cmake
  DESTINATION ${q750_package_folder} COMPONENT development)

# All paths in the pkg-config file are relative to it, so that an installed tree can be moved.
file(RELATIVE_PATH q750_prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" q750_prefix_from_pkgconfig "${q750_prefix_from_pkgconfig}")
file(RELATIVE_PATH q750_libdir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH q750_includedir_from_prefix ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/quenvar-q750.pc.in ${PROJECT_BINARY_DIR}/quenvar-q750.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quenvar-q750.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# The guide for programmers of hosts, and the examples. The guide's links to headers of the source tree become links to
# the installed ones; those to the examples are also valid in the installed guide.
set(q750_doc_folder ${CMAKE_INSTALL_DATADIR}/doc/quenvar-q750)
file(RELATIVE_PATH q750_headers_from_doc
  ${CMAKE_INSTALL_FULL_DATADIR}/doc/quenvar-q750 ${CMAKE_INSTALL_FULL_INCLUDEDIR}/quenvar-q750)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/behaviour.md)
file(READ ${PROJECT_SOURCE_DIR}/docs/behaviour.md q750_guide)
string(REGEX REPLACE "\\]\\(\\.\\./(Sources|platform)/[^)]*/([A-Za-z0-9]+\\.h)\\)" "](${q750_headers_from_doc}/\\2)"
  q750_guide "${q750_guide}")
string(REPLACE "](../examples/" "](examples/" q750_guide "${q750_guide}")
file(WRITE ${PROJECT_BINARY_DIR}/behaviour.md "${q750_guide}")
install(FILES ${PROJECT_BINARY_DIR}/behaviour.md DESTINATION ${q750_doc_folder} COMPONENT development)
foreach(example IN ITEMS messages scan-to-pnm)
  file(GLOB q750_example_files CONFIGURE_DEPENDS LIST_DIRECTORIES FALSE ${PROJECT_SOURCE_DIR}/examples/${example}/*)
  install(FILES ${q750_example_files} DESTINATION ${q750_doc_folder}/examples/${example} COMPONENT development)
endforeach()

# The same file name in a folder that is not searched: a host uses it only if LD_LIBRARY_PATH is set, never by accident.
set(q750_virtual_folder ${CMAKE_INSTALL_LIBDIR}/quenvar-q750/virtual)
install(TARGETS quenvar-q750-virtual LIBRARY DESTINATION ${q750_virtual_folder} COMPONENT virtual NAMELINK_SKIP)

install(TARGETS q750 RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(TARGETS q750-worker RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/quenvar-q750 COMPONENT tools)
install(FILES ${PROJECT_SOURCE_DIR}/docs/q750.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
# The folders and names under which the shells find completions.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completions/q750.bash RENAME q750
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/completions/_q750
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)

# udev reads them from here on Debian if the prefix is /usr; for other prefixes set /etc/udev/hwdb.d and
# /etc/udev/rules.d. They take effect for devices that are plugged in afterwards: the entry after `systemd-hwdb update`,
# the rule if there is a group scanner.
set(Q750_UDEV_HWDB_DIR lib/udev/hwdb.d CACHE STRING
  "Folder of the entry of udev's hardware database, from the prefix or absolute")
set(Q750_UDEV_RULES_DIR lib/udev/rules.d CACHE STRING "Folder of the udev rule, from the prefix or absolute")
install(FILES ${PROJECT_BINARY_DIR}/packaging/udev/20-sane-quenvar.hwdb DESTINATION ${Q750_UDEV_HWDB_DIR} COMPONENT tools)
install(FILES ${PROJECT_BINARY_DIR}/packaging/udev/60-quenvar-q750.rules DESTINATION ${Q750_UDEV_RULES_DIR}
  COMPONENT tools)
install(FILES ${PROJECT_BINARY_DIR}/packaging/desktop/quenvar-q750.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo
  COMPONENT tools)

# The SANE back end. SANE finds its configuration if CMAKE_INSTALL_SYSCONFDIR is /etc, as Debian packages set
# it; otherwise it is installed below the prefix.
install(TARGETS sane-quenvar LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/sane COMPONENT sane NAMELINK_SKIP)
install(FILES ${PROJECT_SOURCE_DIR}/frontends/sane/quenvar.conf DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/sane.d
  COMPONENT sane)
install(FILES ${PROJECT_SOURCE_DIR}/frontends/sane/dll.d/quenvar DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/sane.d/dll.d
  COMPONENT sane)
install(FILES ${PROJECT_SOURCE_DIR}/docs/sane-quenvar.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT sane)

# The network server, and the files that make it a service. systemd reads units from here on Debian if the prefix is
# /usr; for other prefixes set /etc/systemd/system. AppArmor, ufw and the server find their files if
# CMAKE_INSTALL_SYSCONFDIR is /etc, firewalld if the prefix is /usr.
set(Q750_FIREWALLD_DIR lib/firewalld/services CACHE STRING
  "Folder of the firewalld services, from the prefix or absolute")
set(Q750_SYSTEMD_UNIT_DIR lib/systemd/system CACHE STRING "Folder of the systemd units, from the prefix or absolute")
install(TARGETS q750-share RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT share)
install(FILES ${PROJECT_SOURCE_DIR}/frontends/share/share.conf DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/quenvar
  COMPONENT share)
install(FILES ${PROJECT_SOURCE_DIR}/docs/q750-share.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT share)
install(FILES ${PROJECT_BINARY_DIR}/packaging/systemd/q750-share.service
  ${PROJECT_BINARY_DIR}/packaging/systemd/q750-share.socket DESTINATION ${Q750_SYSTEMD_UNIT_DIR} COMPONENT share)
install(FILES ${PROJECT_BINARY_DIR}/packaging/udev/61-quenvar-q750-share.rules DESTINATION ${Q750_UDEV_RULES_DIR}
  COMPONENT share)
install(FILES ${PROJECT_BINARY_DIR}/packaging/apparmor/q750-share DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/apparmor.d
  COMPONENT share)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/firewall/quenvar-q750-share.xml DESTINATION ${Q750_FIREWALLD_DIR}
  COMPONENT share)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/firewall/quenvar-q750-share.ufw RENAME quenvar-q750-share
  DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/ufw/applications.d COMPONENT share)
