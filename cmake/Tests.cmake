# vn_test(<folder> test_a.cpp …): one GoogleTest executable per folder, named test_<folder>.
# Samples of the tests are found through VN_DONNEES (tests/donnees).
find_package(GTest REQUIRED)
include(GoogleTest)

function(vn_test dossier)
  set(cible test_${dossier})
  add_executable(${cible} ${ARGN})
  if(TARGET vn_${dossier})
    target_link_libraries(${cible} PRIVATE vn_${dossier})
  else()
    target_link_libraries(${cible} PRIVATE varnion_coeur)
  endif()
  target_link_libraries(${cible} PRIVATE GTest::gtest GTest::gtest_main)
  target_include_directories(${cible} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_compile_definitions(${cible} PRIVATE VN_DONNEES="${CMAKE_SOURCE_DIR}/tests/donnees"
                                              VN_SOURCES="${CMAKE_SOURCE_DIR}")
  gtest_discover_tests(${cible} DISCOVERY_TIMEOUT 60)
endfunction()
