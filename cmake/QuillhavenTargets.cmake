# The functions with which every folder declares what it holds.
include(QuillhavenDependencies)

# Applies the options of our own builds to a target; never exported.
function(quillhaven_developer_options target)
  if(QUILLHAVEN_DEVELOPER)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wconversion -Wshadow -Wtrigraphs -Werror
      # GCC 12 sees an overlap in every "literal" + std::string (GCC bug 105651).
      $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  endif()
  if(QUILLHAVEN_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${QUILLHAVEN_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${QUILLHAVEN_SANITIZE})
  endif()
  if(QUILLHAVEN_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(QUILLHAVEN_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

# quillhaven_library(mail HDRS a.h SRCS a.cc DEPS Quillhaven::html [PRIVATE_DEPS ICU::uc])
# makes the target quillhaven_mail with the alias Quillhaven::mail, installed,
# exported and known to pkg-config as quillhaven-mail. HDRS are installed;
# headers in internal/ go into SRCS. Libraries of others are found where they are
# named; QuillhavenDependencies.cmake knows how.
function(quillhaven_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HDRS;SRCS;DEPS;PRIVATE_DEPS")
  set(target quillhaven_${name})
  quillhaven_find_dependencies(${arg_DEPS} ${arg_PRIVATE_DEPS})
  quillhaven_describe_component(${name} ${arg_DEPS} ${arg_PRIVATE_DEPS})
  add_library(${target} ${arg_SRCS})
  add_library(Quillhaven::${name} ALIAS ${target})
  target_sources(${target} PUBLIC FILE_SET HEADERS
    BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${arg_HDRS})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PUBLIC ${arg_DEPS} PRIVATE ${arg_PRIVATE_DEPS})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    # Classes and functions of a shared build are all exported.
    CXX_VISIBILITY_PRESET default)
  # Nobody replaces single functions of ours, so they may be inlined all the same.
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  quillhaven_developer_options(${target})
  install(TARGETS ${target} EXPORT QuillhavenUtilitiesTargets
    FILE_SET HEADERS
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endfunction()

# quillhaven_test(mail_test SRCS a_test.cc DEPS Quillhaven::mail) adds one test
# program. With THREADS it is one of those that the target thread_tests builds
# and that scripts/test runs under ThreadSanitizer. With QT a QApplication on the
# offscreen platform stands while the tests run.
function(quillhaven_test name)
  if(NOT QUILLHAVEN_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "QT;THREADS" "" "SRCS;DEPS")
  set(main GTest::gtest_main)
  if(arg_QT)
    list(APPEND arg_DEPS Qt6::Test)
    set(main quillhaven_qt_test_main GTest::gtest)
  endif()
  quillhaven_find_dependencies(${arg_DEPS})
  add_executable(${name} ${arg_SRCS})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ${arg_DEPS} ${main})
  quillhaven_developer_options(${name})
  # What is tested has been optimised; the tests themselves need not take the
  # compiler the time, of which they would be half.
  set(optimisation -O1)
  if(QUILLHAVEN_SANITIZE)  # holds a comma, which generator expressions split at
    set(optimisation -O0)
  endif()
  target_compile_options(${name} PRIVATE
    $<$<NOT:$<CONFIG:Debug>>:${optimisation}>)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  if(arg_THREADS)
    if(NOT TARGET thread_tests)
      add_custom_target(thread_tests)
    endif()
    add_dependencies(thread_tests ${name})
    set_tests_properties(${name} PROPERTIES LABELS threads)
  endif()
  if(QUILLHAVEN_SANITIZE MATCHES thread)
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
      "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/thread-sanitizer.supp")
  elseif(arg_QT AND QUILLHAVEN_SANITIZE MATCHES address)
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
      "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/leak-sanitizer.supp")
  endif()
endfunction()

# quillhaven_benchmark(mail_benchmark SRCS a_benchmark.cc DEPS Quillhaven::mail)
# adds one Google Benchmark program; the test run executes each case once. The
# builds under sanitizers leave it out: what it calls has tests.
function(quillhaven_benchmark name)
  if(QUILLHAVEN_SANITIZE OR
     (NOT QUILLHAVEN_BUILD_TESTS AND NOT QUILLHAVEN_BUILD_BENCHMARKS))
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SRCS;DEPS")
  quillhaven_find_dependencies(${arg_DEPS})
  add_executable(${name} ${arg_SRCS})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ${arg_DEPS} benchmark::benchmark_main)
  quillhaven_developer_options(${name})
  if(QUILLHAVEN_BUILD_TESTS)
    add_test(NAME ${name}_runs COMMAND ${name} --benchmark_min_time=0.0000001)
  endif()
endfunction()
