# The scheduler runs the built back end and the built printer description file.
nbx_add_test(NBXPrinterQMangerTest
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/NBXPrinterQMangerTest.cpp
  LIBS nbxlocal nbxtestsupport Cups::Cups)
add_dependencies(NBXPrinterQMangerTest nbxbackend nbx-ppd)
