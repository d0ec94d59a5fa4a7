# Programs whose target property VARNEL_STATIC is on are linked statically: they start in a fraction of the time and
# hold a fraction of the memory that loading shared libraries takes. Libraries that need the X client libraries link
# them through varnel_link_x11, which gives such programs the archives.

set(static_possible ON)
if(APPLE OR VARNEL_SANITIZE)
  set(static_possible OFF) # sanitizers come as shared code
endif()
# varnel_archive(NAME DEPENDENCIES...): the imported target varnel_archive_NAME.
function(varnel_archive name)
  find_library(VARNEL_ARCHIVE_${name} lib${name}.a)
  if(VARNEL_ARCHIVE_${name})
    add_library(varnel_archive_${name} STATIC IMPORTED GLOBAL)
    set_target_properties(varnel_archive_${name} PROPERTIES IMPORTED_LOCATION ${VARNEL_ARCHIVE_${name}})
    list(TRANSFORM ARGN PREPEND varnel_archive_)
    target_link_libraries(varnel_archive_${name} INTERFACE ${ARGN})
  else()
    set(static_possible OFF PARENT_SCOPE)
  endif()
endfunction()
varnel_archive(md)
varnel_archive(bsd md)
varnel_archive(Xau)
varnel_archive(Xdmcp bsd)
varnel_archive(xcb Xau Xdmcp)
foreach(module xcb-randr xcb-res xcb-xinput xcb-xkb xcb-xtest)
  varnel_archive(${module} xcb)
endforeach()
option(VARNEL_STATIC "Link varnel statically where the archives are there" ${static_possible})

# varnel_link_x11(TARGET MODULES...): links X client libraries, by their names for pkg-config.
function(varnel_link_x11 target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    set(scope INTERFACE)
  else()
    set(scope PRIVATE)
  endif()
  set(static "$<BOOL:$<TARGET_PROPERTY:VARNEL_STATIC>>")
  foreach(module ${ARGN})
    if(NOT TARGET PkgConfig::X11_${module})
      pkg_check_modules(X11_${module} REQUIRED IMPORTED_TARGET GLOBAL ${module})
    endif()
    target_link_libraries(${target} ${scope}
      $<IF:${static},varnel_archive_${module},PkgConfig::X11_${module}>)
  endforeach()
endfunction()

# varnel_link_statically(TARGET): makes the program a static one where that is possible.
function(varnel_link_statically target)
  if(VARNEL_STATIC)
    set_target_properties(${target} PROPERTIES VARNEL_STATIC ON)
    target_link_options(${target} PRIVATE -static $<$<CONFIG:Release>:-s>)
  endif()
endfunction()
