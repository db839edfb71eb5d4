# Compiler settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(OSTREL_WERROR)
  add_compile_options(-Werror)
endif()
# g++ 12 takes inlined string concatenation for overlapping copies (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()

# g++ from 13 on takes a reference that a function returns for one into its arguments.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13)
  add_compile_options(-Wno-dangling-reference)
endif()

# g++ takes a source that is compiled in one go with others for a header, where what holds something of
# an anonymous namespace would be a mistake.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_UNITY_BUILD)
  add_compile_options(-Wno-subobject-linkage)
endif()
# What clang precompiles is to be the same for the same headers, so that compiler caches know it again.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
endif()

# One GNU unique symbol would keep the provider library in memory after dlclose: its static
# destructors would never run, and a reload would meet the old cache.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fno-gnu-unique)
endif()

# What distributions build their packages with, against errors that nobody has found yet.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT OSTREL_SANITIZE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(LINKER:-z,relro LINKER:-z,now)
endif()

if(OSTREL_SANITIZE)
  add_compile_options(-fsanitize=${OSTREL_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  # clang before 17 calls a noexcept function through a pointer that does not say so a wrong type.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_compile_options(-fno-sanitize=function)
  endif()
  add_link_options(-fsanitize=${OSTREL_SANITIZE})
endif()
if(OSTREL_COVERAGE)
  add_link_options(--coverage)  # what is counted is told in src/CMakeLists.txt
endif()

# Includes are written from src/.
include_directories(${PROJECT_SOURCE_DIR}/src)

# ostrel_test(NAME SOURCES... [LIBS ...] [LABELS ...]): one GoogleTest program, its cases known to
# CTest. Every test links the fake host control library, so that whatever it loads meets that one;
# only the tests of the real library, of what it reads hosts with and of the whole tool do not. Each case
# carries its room, the folder below tests, as a label. `thread_tests` builds those labelled "threads" as
# well, all that the thread sanitizer runs.
add_custom_target(thread_tests)

# One label of room and labels, because lists do not get through to CTest: "cache" or "cache,threads". It
# matches by parts.
function(ostrel_labels result)
  cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME room)
  list(JOIN ARGN "," labels)
  string(JOIN "," labels ${room} ${labels})
  set(${result} ${labels} PARENT_SCOPE)
endfunction()

function(ostrel_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  # Tests are long and run once: optimising them takes longer than running them as they are.
  target_compile_options(${name} PRIVATE -O0)
  target_precompile_headers(${name} REUSE_FROM test_headers)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  if(NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "/tests/(hostctl|pci|e2e)$")
    target_link_libraries(${name} PRIVATE test_support fake_hostctl)
  endif()
  target_link_libraries(${name} PRIVATE GTest::gmock_main)
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(thread_tests ${name})
  endif()
  ostrel_labels(labels ${ARG_LABELS})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${labels}")
endfunction()

# ostrel_test_on_object_managers(NAME [FILTER ...] [LABELS ...]): runs the program once more as a whole on
# each of the imitated object managers (see tests/support/object_manager_kind.h). FILTER: of GoogleTest.
function(ostrel_test_on_object_managers name)
  cmake_parse_arguments(ARG "" "FILTER" "LABELS" ${ARGN})
  ostrel_labels(labels ${ARG_LABELS})
  foreach(kind cmpi_1_0 sfcb openpegasus)
    add_test(NAME ${name}_on_${kind} COMMAND ${name} --gtest_brief=1)
    # The cost lets it start first, beside the many that are short.
    set_tests_properties(${name}_on_${kind} PROPERTIES TIMEOUT 600 COST 100 LABELS "${labels}")
    set_property(TEST ${name}_on_${kind} PROPERTY ENVIRONMENT OSTREL_TEST_OBJECT_MANAGER=${kind})
    if(ARG_FILTER)
      set_property(TEST ${name}_on_${kind} APPEND PROPERTY ENVIRONMENT GTEST_FILTER=${ARG_FILTER})
    endif()
  endforeach()
endfunction()
