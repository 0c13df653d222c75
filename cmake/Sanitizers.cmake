if(NBX_SANITIZE AND NBX_TSAN)
  message(FATAL_ERROR "NBX_TSAN cannot be combined with NBX_SANITIZE: the runtimes exclude each other")
endif()

if(NBX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

if(NBX_TSAN)
  # -O1: unoptimised instrumented code makes the tests much slower. Line tables only: a report
  # needs files and lines, not variables. These follow the build type's flags, so they win.
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=thread)
  # Every test, and every program a test starts, reads the suppressions of Qt's own races.
  set(NBX_TEST_PROPERTIES
      ENVIRONMENT
      "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan-qt.supp:halt_on_error=1:second_deadlock_stack=1")
endif()
