# The scheduler runs the built back end and the built printer description file.
nbx_add_test(NBXPrinterQMangerTest
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/NBXPrinterQMangerTest.cpp
  LIBS nbxlocal nbxtestsupport Cups::Cups)
add_dependencies(NBXPrinterQMangerTest nbxbackend nbx-ppd)

# The same cases again with the console messages switched on; prefixed so the names differ.
add_executable(NBXPrinterQMangerDebugTest ${CMAKE_CURRENT_SOURCE_DIR}/NBXPrinterQMangerTest.cpp
  ${PROJECT_SOURCE_DIR}/local/NBXPrinterQManger.cpp)
target_include_directories(NBXPrinterQMangerDebugTest PRIVATE ${PROJECT_SOURCE_DIR}/local)
target_compile_definitions(NBXPrinterQMangerDebugTest PRIVATE NBX_PRINTERQ_DEBUG=1)
target_link_libraries(NBXPrinterQMangerDebugTest PRIVATE nbxcore nbxtestsupport Cups::Cups
  GTest::gmock GTest::gtest_main Threads::Threads)
add_dependencies(NBXPrinterQMangerDebugTest nbxbackend nbx-ppd)
gtest_discover_tests(NBXPrinterQMangerDebugTest TEST_PREFIX "debug." DISCOVERY_TIMEOUT 60
  PROPERTIES TIMEOUT 300)
