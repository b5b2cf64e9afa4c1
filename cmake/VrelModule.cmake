# SPDX-License-Identifier: GPL-3.0-or-later
# Settings and functions for all targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Where it is installed, what was compiled before is not compiled again, in whichever build folder.
find_program(VREL_CCACHE ccache)
# It asks the compiler which headers a unit has, instead of running the preprocessor first: a second for each unit that is
# new to it.
if(VREL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER env CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros ${VREL_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_C_COMPILER_LAUNCHER})
endif()

# Where it is installed, a quicker linker than the compiler's own.
set(VREL_LINKER "" CACHE STRING "A linker by its short name: gold, lld")
find_program(VREL_LINKER_PROGRAM ld.${VREL_LINKER})
if(VREL_LINKER AND VREL_LINKER_PROGRAM)
  add_link_options(-fuse-ld=${VREL_LINKER})
endif()

add_library(vrel_options INTERFACE)
target_include_directories(vrel_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# Three GCC warnings have false positives in optimised code with std::variant, std::optional, std::string and
# std::array; Clang's analysis and the sanitizers find the same bugs.
target_compile_options(vrel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${VREL_WERROR}>:-Werror> -fno-math-errno
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast>
  $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-restrict -Wno-stringop-overread>
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-sign-conversion>)
if(CMAKE_UNITY_BUILD)
  # It asks whether a class is defined in the file that is compiled, which in a batch of sources is none.
  target_compile_options(vrel_options INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
  # It collects garbage up to a quarter of its time otherwise. In kilobytes; the largest unit takes 1 GB.
  target_compile_options(vrel_options INTERFACE
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-expand=100;--param=ggc-min-heapsize=524288>)
endif()

# vrel_module(name SOURCES ... DEPENDS ... [PRIVATE_DEPENDS ...])
# One subsystem. DEPENDS are the allowed dependencies on other subsystems; third-party libraries stay private.
function(vrel_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PRIVATE_DEPENDS" ${ARGN})
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC vrel_options ${ARG_DEPENDS} PRIVATE ${ARG_PRIVATE_DEPENDS})
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE vrel_options ${ARG_DEPENDS})
  endif()
endfunction()

# vrel_window_options(TARGET...)
# VREL_WINDOW_OPTIONS are for modules of which nothing runs in an audio block.
set(VREL_WINDOW_OPTIONS "" CACHE STRING "Compiler options of the modules above the engine")
function(vrel_window_options)
  foreach(name ${ARGN})
    target_compile_options(${name} PRIVATE ${VREL_WINDOW_OPTIONS})
  endforeach()
endfunction()

# vrel_test(name LABEL label SOURCES ... DEPENDS ... [RESOURCE_LOCK resource] [THREADS] [SHARDS n] [COST seconds])
# One GoogleTest executable. Where cases compute, they run one after the other in one process, or in so many shards, each
# a CTest; where they wait for processes and devices, every case is a CTest of its own. Each case of the former is a CTest
# of the label `case` besides, to be run by its name. Of those with the same resource one runs at a time, and those with
# the highest cost, their longest wait, start first. THREADS: it has several threads; a build with VREL_THREAD_TESTS_ONLY
# has those tests only.
# VREL_TEST_HEADERS: what all of them include is compiled once. The lints check without it that each includes what it uses.
# The target `tests_rt` builds what `ctest -L rt` needs, and so on for each label; `tests_all` all tests.
# VREL_TEST_OPTIONS are for the cases' own code, which sanitizers and optimisation make slow to compile, and which is not
# what is to be checked.
include(GoogleTest)
option(VREL_THREAD_TESTS_ONLY "Only the tests with several threads (the tsan preset)" OFF)
option(VREL_TEST_HEADERS "Precompile the headers that all tests include" OFF)
add_custom_target(tests_all)
foreach(label unit rt sound media plugins show devices ui)
  add_custom_target(tests_${label})
  add_dependencies(tests_all tests_${label})
endforeach()
add_custom_target(tests_machine)  # about the machine, so not among all tests
set(vrel_labels_in_one_process unit rt sound media ui)
function(vrel_test name)
  cmake_parse_arguments(ARG "THREADS" "LABEL;RESOURCE_LOCK;SHARDS;COST" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE ${VREL_TEST_OPTIONS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  if(NOT TARGET vrel_keep_libraries_loaded)
    list(REMOVE_ITEM ARG_DEPENDS vrel_keep_libraries_loaded)
  endif()
  target_link_libraries(${name} PRIVATE vrel_options vrel_test_environment ${ARG_DEPENDS} GTest::gtest GTest::gmock
    GTest::gtest_main
    $<$<BOOL:${VREL_RT_TRAP}>:vrel_rt_trap> $<$<TARGET_EXISTS:vrel_sanitizer_defaults>:vrel_sanitizer_defaults>)
  if(VREL_TEST_HEADERS)
    target_compile_options(${name} PRIVATE -fPIC -pthread)  # as Qt and RtAudio ask; all must be as the headers are
    target_precompile_headers(${name} REUSE_FROM vrel_test_headers)
  endif()
  if(VREL_THREAD_TESTS_ONLY AND NOT ARG_THREADS)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  set(properties LABELS ${ARG_LABEL} TIMEOUT 300)
  if(ARG_RESOURCE_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_RESOURCE_LOCK})
  endif()
  if(ARG_COST)
    list(APPEND properties COST ${ARG_COST})
  endif()
  set(has_cases TRUE)
  if(ARG_LABEL IN_LIST vrel_labels_in_one_process)
    if(NOT ARG_SHARDS)
      set(ARG_SHARDS 1)
    endif()
    foreach(shard RANGE 1 ${ARG_SHARDS})
      set(test ${ARG_LABEL}.${name})
      if(ARG_SHARDS GREATER 1)
        string(APPEND test .${shard})
      endif()
      math(EXPR index "${shard} - 1")
      add_test(NAME ${test} COMMAND ${name} --gtest_brief=1)
      set_tests_properties(${test} PROPERTIES ${properties}
        ENVIRONMENT "GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${index}")
    endforeach()
    list(TRANSFORM properties REPLACE "^${ARG_LABEL}$" case)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
      set(has_cases FALSE)  # asking each program for them takes a while there
    endif()
  endif()
  if(has_cases)
    # Cases are listed when CTest runs, so a build never executes what it made.
    gtest_discover_tests(${name} TEST_PREFIX ${ARG_LABEL}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
      PROPERTIES ${properties})
  endif()
  add_dependencies(tests_${ARG_LABEL} ${name})
endfunction()

# vrel_benchmark(name SOURCES ... DEPENDS ...)
# One Google Benchmark executable. Its CTest shows that it runs; figures come from running it by hand. The target
# `benchmarks` builds them all.
add_custom_target(benchmarks)
function(vrel_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE vrel_options ${ARG_DEPENDS} benchmark::benchmark benchmark::benchmark_main)
  add_test(NAME bench.${name} COMMAND ${name} --benchmark_min_time=0.001)
  set_tests_properties(bench.${name} PROPERTIES LABELS bench TIMEOUT 300)
  add_dependencies(benchmarks ${name})
endfunction()
