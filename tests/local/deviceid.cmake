# The IEEE 1284 device-id reader the picker and the agent share.
nbx_add_test(nbx_deviceid_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/DeviceIdTest.cpp
  LIBS nbxlocal)
