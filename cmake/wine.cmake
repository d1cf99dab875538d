# Programs of a cross-build for Windows run under Wine, whose folder is inside the build. One server
# serves all tests; otherwise every process would start one and wait for its end.
if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
  # Debian keeps Wine's programs off the path.
  find_program(WINE wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  find_program(WINESERVER wineserver64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(wine_prefix ${PROJECT_BINARY_DIR}/wine)
  file(MAKE_DIRECTORY ${wine_prefix})
  set(wine_environment ${CMAKE_COMMAND} -E env
      WINEPREFIX=${wine_prefix} WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= LC_ALL=C.UTF-8)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${wine_environment} ${WINE})
  # A server that an interrupted run left, or that still serves the discovery of tests, goes first: a
  # second one would not start. If the server kept the test's output open, the test would not end.
  add_test(NAME wine_start COMMAND ${wine_environment}
           sh -c "{ '${WINESERVER}' -k; '${WINESERVER}' -p && '${WINE}' cmd /c ver; } >/dev/null 2>&1")
  add_test(NAME wine_stop COMMAND ${wine_environment} ${WINESERVER} -k)
  set_tests_properties(wine_start PROPERTIES FIXTURES_SETUP wine)
  set_tests_properties(wine_stop PROPERTIES FIXTURES_CLEANUP wine)

  # Call this at the end of a folder with tests.
  function(ztlib_tests_need_wine)
    get_property(names DIRECTORY PROPERTY TESTS)
    set_tests_properties(${names} PROPERTIES FIXTURES_REQUIRED wine)
  endfunction()
endif()
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
