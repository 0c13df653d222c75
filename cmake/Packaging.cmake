include(GNUInstallDirs)
install(DIRECTORY ${NBX_SHARE_DIR}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/nimbrix)

# `cpack` in a build tree makes the Debian package. Configure it with -DNBX_PACKAGED=ON (see
# core/), or the installed programs look for their parts in the fixed locations instead.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME nimbrix)
set(CPACK_PACKAGE_VENDOR Valmora)
set(CPACK_PACKAGE_CONTACT "Nimbrix developers <nimbrix@valmora.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Cloud printing agent, print queue back end and helpers")
set(CPACK_PACKAGE_DESCRIPTION
  "Prints through the Nimbrix cloud service from any program and shares a printer of this computer.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The back end only runs under the local scheduler, the agent makes its queue with lpadmin, and
# the queue takes its jobs as PDF through the scheduler's filters. The rest of the printing
# system (drivers for a printer to share) is the user's choice.
# libcurl and libcrypto are loaded when first needed, so the programs' links do not name them.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4, libssl3, cups-daemon, cups-client, cups-filters")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "cups")
include(CPack)
