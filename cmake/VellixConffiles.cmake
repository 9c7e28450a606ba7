# Run by CPack once the files are in place, before the package is made: every
# file installed below /etc (the autostart entry) becomes a conffile, so that
# dpkg keeps the administrator's changes to it across upgrades.
file(GLOB_RECURSE etc_files LIST_DIRECTORIES false RELATIVE ${CPACK_TEMPORARY_DIRECTORY}
     ${CPACK_TEMPORARY_DIRECTORY}/etc/*)
if(etc_files)
  list(TRANSFORM etc_files PREPEND /)
  list(JOIN etc_files "\n" lines)
  file(WRITE ${CPACK_TOPLEVEL_DIRECTORY}/conffiles "${lines}\n")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CPACK_TOPLEVEL_DIRECTORY}/conffiles)
endif()
