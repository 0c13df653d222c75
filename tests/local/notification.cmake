# Session-bus notifications, on a private dbus-daemon.
nbx_add_test(nbx_notification_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/DistributedNotificationCenterTest.cpp
  LIBS nbxlocal nbxtestsupport)
