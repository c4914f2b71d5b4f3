# docs/rules.md is what "rules --markdown" prints. cmake -DSOURCES=<root> -DCLI=<varnion-cli> -P regles.cmake
set(ENV{LC_ALL} C.UTF-8)
execute_process(COMMAND ${CLI} rules --markdown --lang en OUTPUT_VARIABLE page RESULT_VARIABLE statut)
file(READ ${SOURCES}/docs/rules.md gardee)
if(NOT statut EQUAL 0 OR NOT page STREQUAL gardee)
  message(FATAL_ERROR "docs/rules.md is not what varnion-cli rules --markdown prints")
endif()
