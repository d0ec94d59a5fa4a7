# The tree as code for Apple silicon, compiled on Linux against our own declarations of the system. Used by the preset
# macos-check; nothing that it makes is meant to be run.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_OSX_SYSROOT "" CACHE STRING "" FORCE)
set(CMAKE_OSX_ARCHITECTURES "" CACHE STRING "" FORCE)
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "" FORCE)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # a first link would build the standard library: a minute

set(CMAKE_C_COMPILER "${CMAKE_CURRENT_LIST_DIR}/zig-cc")
set(CMAKE_CXX_COMPILER "${CMAKE_CURRENT_LIST_DIR}/zig-c++")
set(CMAKE_C_COMPILER_TARGET aarch64-macos.14.0)
set(CMAKE_CXX_COMPILER_TARGET aarch64-macos.14.0)
set(CMAKE_AR "${CMAKE_CURRENT_LIST_DIR}/zig-ar" CACHE FILEPATH "")
set(CMAKE_RANLIB "${CMAKE_CURRENT_LIST_DIR}/zig-ranlib" CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL /bin/true)

set(sdk "${CMAKE_CURRENT_LIST_DIR}/sdk")
# Without -fno-sanitize the compiler adds checks of its own to code that is not optimized.
set(CMAKE_CXX_FLAGS_INIT
  "-g0 -fno-sanitize=all -Wno-unused-command-line-argument -iframework ${sdk}/Frameworks -isystem ${sdk}/include")

# Nothing of the Linux system belongs into it.
set(CMAKE_FIND_ROOT_PATH "${sdk}")
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# check_symbols.py looks for what a link would miss; archives and programs are only names.
foreach(kind LINK_EXECUTABLE ARCHIVE_CREATE ARCHIVE_APPEND)
  set(CMAKE_CXX_${kind} "<CMAKE_COMMAND> -E touch <TARGET>")
endforeach()
set(CMAKE_CXX_ARCHIVE_FINISH "")
