# Property-list files, state files and the authentication-info store.
nbx_add_test(nbx_state_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/PropertyListFileTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StateFilesTest.cpp
  LIBS nbxlocal nbxtestsupport PkgConfig::PLIST)
