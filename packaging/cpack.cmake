# What `cpack -G DEB` makes: the command, the library to build hosts with, and
# the translations that both use.
# Included at the end of the main CMakeLists.txt, after every install().
set(CPACK_PACKAGE_NAME "quillhaven-utilities")
set(CPACK_PACKAGE_VENDOR "Quillhaven")
set(CPACK_PACKAGE_CONTACT "Quillhaven <packages@quillhaven.example>")
# Empty, so that each package's own description begins with its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
# What was configured, so that the pkg-config file names the folder it is in.
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL development)
if(QUILLHAVEN_BUILD_CLI)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()
if(QUILLHAVEN_BUILD_CLI AND QUILLHAVEN_HAS_QT)
  list(APPEND CPACK_COMPONENTS_ALL gallery)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "quillhaven-gallery")
endif()
if(QUILLHAVEN_MSGFMT)
  list(APPEND CPACK_COMPONENTS_ALL translations)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "quillhaven-utilities-l10n")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "quillhaven-utilities-l10n")
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
"command that parses stored e-mail messages
Prints stored messages as text or JSON, converts between HTML and plain text,
finds and marks tracking links, keeps passwords, inspects and runs programs, and
makes the operations of the library available to scripts and to programs in
other languages.")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME "quillhaven")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION "mail")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)

set(CPACK_COMPONENT_GALLERY_DESCRIPTION
"user interface of the quillhaven library, to look at
What \"quillhaven gallery\" runs: a window with every view of the library, and
pictures of them.")
set(CPACK_DEBIAN_GALLERY_PACKAGE_NAME "quillhaven-gallery")
set(CPACK_DEBIAN_GALLERY_PACKAGE_SECTION "mail")
set(CPACK_DEBIAN_GALLERY_PACKAGE_SHLIBDEPS ON)

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"utility library of a mail-productivity product (development files)
C++20 headers and static libraries, with the files for CMake's find_package and
for pkg-config.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME "libquillhaven-utilities-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel")
quillhaven_debian_dependencies(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS)

set(CPACK_COMPONENT_TRANSLATIONS_DESCRIPTION
"texts of the Quillhaven library in other languages
What the quillhaven command and hosts of the library show to their users.")
set(CPACK_DEBIAN_TRANSLATIONS_PACKAGE_NAME "quillhaven-utilities-l10n")
set(CPACK_DEBIAN_TRANSLATIONS_PACKAGE_SECTION "localization")
set(CPACK_DEBIAN_TRANSLATIONS_PACKAGE_ARCHITECTURE all)

# Debian wants the terms beside each package.
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" RENAME copyright
  DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libquillhaven-utilities-dev"
  COMPONENT development)
if(QUILLHAVEN_MSGFMT)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" RENAME copyright
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/quillhaven-utilities-l10n"
    COMPONENT translations)
endif()
if(QUILLHAVEN_BUILD_CLI)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" RENAME copyright
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/quillhaven" COMPONENT program)
  if(QUILLHAVEN_HAS_QT)
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" RENAME copyright
      DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/quillhaven-gallery"
      COMPONENT gallery)
  endif()
endif()

include(CPack)
