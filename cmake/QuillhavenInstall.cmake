# Installs the package that find_package(QuillhavenUtilities COMPONENTS ...) reads.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/QuillhavenUtilities")
install(EXPORT QuillhavenUtilitiesTargets NAMESPACE Quillhaven::
  DESTINATION "${package_folder}")
quillhaven_component_lines(QUILLHAVEN_COMPONENT_LINES)
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/QuillhavenUtilitiesConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/QuillhavenUtilitiesConfig.cmake"
  INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/QuillhavenUtilitiesConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/QuillhavenUtilitiesConfig.cmake"
  "${PROJECT_BINARY_DIR}/QuillhavenUtilitiesConfigVersion.cmake"
  DESTINATION "${package_folder}")
