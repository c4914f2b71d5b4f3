# One static library per folder of src/, so that the linker sees the same arrows as the reader.
# vn_couche(<folder> SOURCES a.cpp … [NEEDS <folder> …] [LIBS lib …])

set(VN_AVERTISSEMENTS -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# g++ 12 warns of overlaps inside std::string that are not there (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND VN_AVERTISSEMENTS -Wno-restrict)
endif()

add_library(vn_options INTERFACE)
target_compile_options(vn_options INTERFACE ${VN_AVERTISSEMENTS})
target_include_directories(vn_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_definitions(vn_options INTERFACE _FILE_OFFSET_BITS=64 VARNION_VERSION="${PROJECT_VERSION}")
if(VARNION_ASAN)
  # What the sanitizers put in makes g++ see uses of values that it can no longer follow.
  target_compile_options(vn_options INTERFACE -Wno-maybe-uninitialized)
  target_compile_options(vn_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                              -fno-omit-frame-pointer)
  target_link_options(vn_options INTERFACE -fsanitize=address,undefined)
endif()
if(VARNION_FUZZ)
  target_compile_options(vn_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                                              -fno-sanitize-recover=all)
  target_link_options(vn_options INTERFACE -fsanitize=address,undefined)
endif()

function(vn_couche nom)
  cmake_parse_arguments(ARG "" "" "SOURCES;NEEDS;LIBS" ${ARGN})
  add_library(vn_${nom} STATIC ${ARG_SOURCES})
  target_link_libraries(vn_${nom} PUBLIC vn_options)
  foreach(besoin IN LISTS ARG_NEEDS)
    target_link_libraries(vn_${nom} PUBLIC vn_${besoin})
  endforeach()
  target_link_libraries(vn_${nom} PRIVATE ${ARG_LIBS})
endfunction()
