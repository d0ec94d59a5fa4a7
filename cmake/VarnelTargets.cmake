# How every target of the tree is built: one place for language, warnings, sanitizers and test registration.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_program(VARNEL_CCACHE ccache)
if(VARNEL_CCACHE)
  # The sloppiness settings let ccache serve compilations that use a precompiled header.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      ${VARNEL_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

add_library(varnel_options INTERFACE)
target_include_directories(varnel_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(varnel_options INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Werror
  # g++ 12 warns wrongly about std::optional, std::variant and std::string at -O1 and above.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -fpch-preprocess>
  # libstdc++ 12's own std::stable_sort uses what it declares deprecated.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>
  -ffunction-sections -fdata-sections)
if(APPLE)
  target_link_options(varnel_options INTERFACE -Wl,-dead_strip)
else()
  target_link_options(varnel_options INTERFACE -Wl,--gc-sections)
endif()
target_link_libraries(varnel_options INTERFACE Threads::Threads)
if(VARNEL_SANITIZE)
  target_compile_options(varnel_options INTERFACE -fsanitize=${VARNEL_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(varnel_options INTERFACE -fsanitize=${VARNEL_SANITIZE})
  target_compile_definitions(varnel_options INTERFACE VARNEL_SANITIZED=1)
endif()
if(VARNEL_COVERAGE)
  target_compile_options(varnel_options INTERFACE --coverage)
  target_link_options(varnel_options INTERFACE --coverage)
endif()
if(VARNEL_FUZZ)
  target_compile_options(varnel_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(VARNEL_TIDY)
  set(CMAKE_CXX_CLANG_TIDY clang-tidy-19)
endif()

if(VARNEL_PRELUDE)
  set(prelude <algorithm> <array> <atomic> <charconv> <chrono> <deque> <expected> <functional> <map> <memory> <mutex>
    <optional> <ranges> <set> <span> <string> <string_view> <thread> <utility> <variant> <vector>)
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/prelude.cpp CONTENT "")
  add_library(varnel_prelude OBJECT ${CMAKE_CURRENT_BINARY_DIR}/prelude.cpp)
  target_link_libraries(varnel_prelude PRIVATE varnel_options)
  target_precompile_headers(varnel_prelude PRIVATE ${prelude})
  # Compilers that keep results of their own, as the one for macOS does, look at the arguments only.
  string(MD5 version "${prelude}")
  target_include_directories(varnel_prelude PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/prelude-${version})
endif()

# varnel_library(NAME SOURCES... ): the static library varnel_NAME, alias Varnel::NAME.
function(varnel_library name)
  add_library(varnel_${name} STATIC ${ARGN})
  add_library(Varnel::${name} ALIAS varnel_${name})
  target_link_libraries(varnel_${name} PUBLIC varnel_options)
  if(VARNEL_PRELUDE)
    target_precompile_headers(varnel_${name} REUSE_FROM varnel_prelude)
    # Objective-C++ reads headers in another way than C++.
    set(objective ${ARGN})
    list(FILTER objective INCLUDE REGEX "\\.mm$")
    set_source_files_properties(${objective} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# varnel_test(NAME [LIVE] SOURCES... LIBS...): one test program for a folder. LIVE programs use real X servers or
# real waiting; they carry the label "live" and never run beside one another.
function(varnel_test name)
  cmake_parse_arguments(arg "LIVE" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE varnel_options ${arg_LIBS} GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE VARNEL_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data"
    VARNEL_BINARY_DIR="${CMAKE_BINARY_DIR}/bin" VARNEL_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  target_precompile_headers(${name} REUSE_FROM varnel_test_pch)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  if(arg_LIVE)
    set_tests_properties(${name} PROPERTIES LABELS live RUN_SERIAL ON)
  endif()
endfunction()
