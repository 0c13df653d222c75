# The serial-queue logger and the secrets it never writes.
nbx_add_test(nbx_logger_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/LoggerTest.cpp ${CMAKE_CURRENT_LIST_DIR}/SecretMaskTest.cpp
  LIBS nbxlocal nbxtestsupport)
