# Target helpers: one library per folder, one test binary per test folder, one benchmark binary
# per benchmark file. Every target of ours gets the same warnings, include root and sanitizers.

include(GoogleTest)

set(ORB_WARNINGS -Wall -Wextra -Wshadow)
# GCC 12 at -O3 reports a false -Wrestrict inside std::char_traits::copy when a literal is
# prepended to a temporary string (" " + std::to_string(n)); GCC 13 no longer does. The library
# avoids the pattern where that is easy; the warning is off for exactly that compiler so that a
# test's string building does not break an optimised build.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  list(APPEND ORB_WARNINGS -Wno-restrict)
endif()
if(ORB_WERROR)
  list(APPEND ORB_WARNINGS -Werror)
endif()

function(orb_apply_common TARGET)
  target_compile_options(${TARGET} PRIVATE ${ORB_WARNINGS})
  if(ORB_SANITIZE)
    target_compile_options(${TARGET} PRIVATE -fsanitize=address,undefined
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${TARGET} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# orb_library(NAME SRCS ... DEPS ...): a static library with alias orb::NAME; a header-only
# library when it has no sources yet.
function(orb_library NAME)
  cmake_parse_arguments(ARG "" "" "SRCS;DEPS" ${ARGN})
  if(NOT ARG_SRCS)
    add_library(${NAME} INTERFACE)
    add_library(orb::${NAME} ALIAS ${NAME})
    target_include_directories(${NAME} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${NAME} INTERFACE ${ARG_DEPS})
    return()
  endif()
  add_library(${NAME} STATIC ${ARG_SRCS})
  add_library(orb::${NAME} ALIAS ${NAME})
  target_include_directories(${NAME} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${NAME} PUBLIC ${ARG_DEPS})
  orb_apply_common(${NAME})
endfunction()

# orb_test(NAME SRCS ... DEPS ...): a GoogleTest binary whose cases CTest lists one by one, so
# that a failure names its case.
function(orb_test NAME)
  cmake_parse_arguments(ARG "" "" "SRCS;DEPS" ${ARGN})
  add_executable(${NAME} ${ARG_SRCS})
  target_link_libraries(${NAME} PRIVATE ${ARG_DEPS} orb::test_support GTest::gtest)
  orb_apply_common(${NAME})
  gtest_discover_tests(${NAME} EXTRA_ARGS --gtest_brief=1 DISCOVERY_TIMEOUT 120)
endfunction()

# orb_bench(NAME SRCS ... DEPS ...): a Google Benchmark binary; built, never run by CTest.
function(orb_bench NAME)
  cmake_parse_arguments(ARG "" "" "SRCS;DEPS" ${ARGN})
  add_executable(${NAME} ${ARG_SRCS})
  target_link_libraries(${NAME} PRIVATE ${ARG_DEPS} benchmark::benchmark_main)
  orb_apply_common(${NAME})
endfunction()
