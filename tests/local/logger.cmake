# The serial-queue logger.
nbx_add_test(nbx_logger_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/LoggerTest.cpp
  LIBS nbxlocal nbxtestsupport)
