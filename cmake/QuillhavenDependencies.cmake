# The libraries of others that ours stand on: how our build and a host find each
# of them, what pkg-config and Debian call it.

# quillhaven_dependency(OpenSSL::Crypto PACKAGE "OpenSSL 3 COMPONENTS Crypto"
#                       REQUIRES libcrypto DEBIAN libssl-dev)
# describes the library behind an imported target. PACKAGE is what find_package
# takes; MODULE, in its place, the name that pkg-config knows. REQUIRES and LIBS
# go into our own pkg-config files (REQUIRES is MODULE where there is one).
function(quillhaven_dependency target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PACKAGE;MODULE;REQUIRES;LIBS;DEBIAN" "")
  if(arg_MODULE)
    set(arg_REQUIRES ${arg_MODULE})
  endif()
  foreach(key PACKAGE MODULE REQUIRES LIBS DEBIAN)
    set_property(GLOBAL PROPERTY "QUILLHAVEN_${key} ${target}" "${arg_${key}}")
  endforeach()
  set_property(GLOBAL APPEND PROPERTY QUILLHAVEN_DEPENDENCIES ${target})
endfunction()

quillhaven_dependency(ICU::uc PACKAGE "ICU 72 COMPONENTS uc i18n"
  REQUIRES icu-uc DEBIAN "libicu-dev (>= 72)")
quillhaven_dependency(ICU::i18n PACKAGE "ICU 72 COMPONENTS uc i18n"
  REQUIRES icu-i18n DEBIAN "libicu-dev (>= 72)")
quillhaven_dependency(Boost::url PACKAGE "Boost 1.81 COMPONENTS url"
  LIBS -lboost_url DEBIAN libboost-url1.81-dev)
quillhaven_dependency(OpenSSL::Crypto PACKAGE "OpenSSL 3 COMPONENTS Crypto"
  REQUIRES libcrypto DEBIAN libssl-dev)
quillhaven_dependency(PkgConfig::GLIB MODULE glib-2.0
  DEBIAN "libglib2.0-dev (>= 2.74)")
quillhaven_dependency(PkgConfig::GIO MODULE gio-unix-2.0
  DEBIAN "libglib2.0-dev (>= 2.74)")
quillhaven_dependency(PkgConfig::XCB MODULE xcb DEBIAN libxcb1-dev)
quillhaven_dependency(PkgConfig::LIBSECRET MODULE libsecret-1
  DEBIAN libsecret-1-dev)
quillhaven_dependency(PkgConfig::LIBSODIUM MODULE libsodium DEBIAN libsodium-dev)
# The reference that the tests hold our readers of property lists to.
quillhaven_dependency(PkgConfig::LIBPLIST MODULE libplist-2.0)
quillhaven_dependency(Threads::Threads PACKAGE Threads LIBS -pthread)
# Of ui and devtools alone.
quillhaven_dependency(Qt6::Widgets PACKAGE "Qt6 6.4 COMPONENTS Widgets"
  REQUIRES Qt6Widgets DEBIAN "qt6-base-dev (>= 6.4)")
quillhaven_dependency(Qt6::Test PACKAGE "Qt6 6.4 COMPONENTS Test")

# Finds what stands behind those of the named targets that are in the table.
# A macro: the imported targets belong to the folder that asks.
macro(quillhaven_find_dependencies)
  foreach(dependency IN ITEMS ${ARGN})
    get_property(package GLOBAL PROPERTY "QUILLHAVEN_PACKAGE ${dependency}")
    get_property(module GLOBAL PROPERTY "QUILLHAVEN_MODULE ${dependency}")
    if(TARGET ${dependency})
      continue()
    elseif(module)
      find_package(PkgConfig REQUIRED)
      string(REPLACE "PkgConfig::" "" prefix ${dependency})
      pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET GLOBAL ${module})
    elseif(package)
      separate_arguments(package)
      find_package(${package} REQUIRED)
    endif()
  endforeach()
endmacro()

# Records what a component stands on, and installs its pkg-config file.
function(quillhaven_describe_component name)
  set(components ${ARGN})
  list(FILTER components INCLUDE REGEX "^Quillhaven::")
  list(TRANSFORM components REPLACE "^Quillhaven::" "")
  set(others ${ARGN})
  list(FILTER others EXCLUDE REGEX "^Quillhaven::")
  set_property(GLOBAL APPEND PROPERTY QUILLHAVEN_COMPONENTS ${name})
  set_property(GLOBAL PROPERTY "QUILLHAVEN_NEEDS ${name}" "${components}")
  set_property(GLOBAL PROPERTY "QUILLHAVEN_USES ${name}" "${others}")

  string(REPLACE _ - name_in_words ${name})
  set(requires ${components})
  list(TRANSFORM requires REPLACE _ -)
  list(TRANSFORM requires PREPEND quillhaven-)
  set(libs "-lquillhaven_${name}")
  foreach(dependency IN LISTS others)
    get_property(module GLOBAL PROPERTY "QUILLHAVEN_REQUIRES ${dependency}")
    get_property(flags GLOBAL PROPERTY "QUILLHAVEN_LIBS ${dependency}")
    list(APPEND requires ${module})
    list(APPEND libs ${flags})
  endforeach()
  list(JOIN requires " " requires)
  list(JOIN libs " " libs)
  set(file "${PROJECT_BINARY_DIR}/pkgconfig/quillhaven-${name_in_words}.pc")
  configure_file("${PROJECT_SOURCE_DIR}/packaging/quillhaven-component.pc.in"
    "${file}" @ONLY)
  install(FILES "${file}" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

# Sets `result` to lines of CMake that tell a host what each component stands on.
function(quillhaven_component_lines result)
  get_property(names GLOBAL PROPERTY QUILLHAVEN_COMPONENTS)
  set(lines "set(quillhaven_components ${names})\n")
  foreach(name IN LISTS names)
    get_property(needs GLOBAL PROPERTY "QUILLHAVEN_NEEDS ${name}")
    get_property(uses GLOBAL PROPERTY "QUILLHAVEN_USES ${name}")
    string(APPEND lines "set(quillhaven_needs_${name} ${needs})\n"
      "set(quillhaven_uses_${name} ${uses})\n")
  endforeach()
  get_property(dependencies GLOBAL PROPERTY QUILLHAVEN_DEPENDENCIES)
  foreach(dependency IN LISTS dependencies)
    string(MAKE_C_IDENTIFIER ${dependency} id)
    get_property(package GLOBAL PROPERTY "QUILLHAVEN_PACKAGE ${dependency}")
    get_property(module GLOBAL PROPERTY "QUILLHAVEN_MODULE ${dependency}")
    string(APPEND lines "set(quillhaven_package_${id} ${package})\n"
      "set(quillhaven_module_${id} ${module})\n")
  endforeach()
  string(REPLACE ";" " " lines "${lines}")
  set(${result} "${lines}" PARENT_SCOPE)
endfunction()

# Sets `result` to the Debian packages with which all of the library is linked.
function(quillhaven_debian_dependencies result)
  set(packages)
  get_property(names GLOBAL PROPERTY QUILLHAVEN_COMPONENTS)
  foreach(name IN LISTS names)
    get_property(uses GLOBAL PROPERTY "QUILLHAVEN_USES ${name}")
    foreach(dependency IN LISTS uses)
      get_property(package GLOBAL PROPERTY "QUILLHAVEN_DEBIAN ${dependency}")
      list(APPEND packages ${package})
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES packages)
  list(JOIN packages ", " packages)
  set(${result} "${packages}" PARENT_SCOPE)
endfunction()
