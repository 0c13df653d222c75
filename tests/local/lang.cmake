# Language files, their reader and the shipped resources.
nbx_add_test(nbx_lang_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/LangTest.cpp
  LIBS nbxlocal nbxtestsupport PkgConfig::PUGIXML)
target_compile_definitions(nbx_lang_tests PRIVATE
  NBX_RESOURCES_SOURCE="${PROJECT_SOURCE_DIR}/resources/share")
