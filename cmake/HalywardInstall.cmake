# What `cmake --install` and `make package` put where. Two components:
#   runtime      the halyward command, the web-app host, the manual page, the shell
#                completions, the agent skill and the demo site (the Debian package)
#   development  the core library's headers, static libraries and CMake package files,
#                so that another project can find_package(halyward) and link halyward::core
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# `halyward app add` finds the host at ../libexec/halyward/ from its own executable, so
# these two folders are fixed relative to each other whatever GNUInstallDirs would choose.
set(HALYWARD_INSTALL_BINDIR bin)
set(HALYWARD_INSTALL_HOSTDIR libexec/halyward)

if(TARGET halyward)
  install(TARGETS halyward RUNTIME DESTINATION ${HALYWARD_INSTALL_BINDIR} COMPONENT runtime)
endif()
if(TARGET halyward-app)
  install(TARGETS halyward-app RUNTIME DESTINATION ${HALYWARD_INSTALL_BINDIR} COMPONENT runtime)
  # Its launcher entry and icon, named for the app id its autostart entry also carries.
  install(FILES "${PROJECT_SOURCE_DIR}/app/share/app.halyward.Halyward.desktop"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT runtime)
  install(FILES "${PROJECT_SOURCE_DIR}/app/share/app.halyward.Halyward.svg"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT runtime)
endif()
# Beside halyward-app, which starts it.
if(TARGET halyward-new-app)
  install(TARGETS halyward-new-app RUNTIME DESTINATION ${HALYWARD_INSTALL_BINDIR} COMPONENT runtime)
endif()
if(TARGET HalywardWebHost)
  install(TARGETS HalywardWebHost RUNTIME DESTINATION ${HALYWARD_INSTALL_HOSTDIR} COMPONENT runtime)
endif()

if(DEFINED HALYWARD_DOC_DIR)
  install(FILES "${HALYWARD_DOC_DIR}/halyward.1.gz"
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  install(FILES "${HALYWARD_DOC_DIR}/completions/halyward.bash"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME halyward COMPONENT runtime)
  install(FILES "${HALYWARD_DOC_DIR}/completions/_halyward"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT runtime)
  install(FILES "${HALYWARD_DOC_DIR}/completions/halyward.fish"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT runtime)
  install(FILES "${HALYWARD_DOC_DIR}/skills/halyward/SKILL.md"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/halyward/skills/halyward COMPONENT runtime)
endif()
if(EXISTS "${PROJECT_SOURCE_DIR}/demo/site")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/demo/site/"
          DESTINATION ${CMAKE_INSTALL_DATADIR}/halyward/demo-site COMPONENT runtime)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/doc/copyright"
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

set(HALYWARD_PACKAGE_MAINTAINER "Halyward developers <developers@halyward.example>"
    CACHE STRING "The Maintainer field of the Debian package and its changelog")
# Debian's policy wants a compressed changelog beside the copyright; its date follows
# SOURCE_DATE_EPOCH when it is set, so the package builds reproducibly.
string(TIMESTAMP _halyward_changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ "${PROJECT_SOURCE_DIR}/doc/changelog.in" _halyward_changelog)
string(REPLACE "@VERSION@" "${PROJECT_VERSION}" _halyward_changelog "${_halyward_changelog}")
string(REPLACE "@MAINTAINER@" "${HALYWARD_PACKAGE_MAINTAINER}" _halyward_changelog "${_halyward_changelog}")
string(REPLACE "@DATE@" "${_halyward_changelog_date}" _halyward_changelog "${_halyward_changelog}")
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/doc/changelog" CONTENT "${_halyward_changelog}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/doc/changelog.in")
find_program(HALYWARD_GZIP gzip REQUIRED)
add_custom_command(
  OUTPUT "${PROJECT_BINARY_DIR}/doc/changelog.gz"
  COMMAND ${HALYWARD_GZIP} -9nkf "${PROJECT_BINARY_DIR}/doc/changelog"
  DEPENDS "${PROJECT_BINARY_DIR}/doc/changelog"
  VERBATIM)
add_custom_target(halyward_changelog ALL DEPENDS "${PROJECT_BINARY_DIR}/doc/changelog.gz")
install(FILES "${PROJECT_BINARY_DIR}/doc/changelog.gz"
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# The library: every module, the halyward::core umbrella, and the warnings target the
# modules link privately (a static library's private links travel with it).
get_property(_halyward_modules GLOBAL PROPERTY HALYWARD_MODULES)
foreach(_module IN LISTS _halyward_modules)
  string(REGEX REPLACE "^halyward_" "" _short "${_module}")
  set_target_properties(${_module} PROPERTIES EXPORT_NAME ${_short})
  get_target_property(_type ${_module} TYPE)
  if(_type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${_module} INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  else()
    target_include_directories(${_module} PUBLIC "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  endif()
endforeach()
set_target_properties(halyward_core PROPERTIES EXPORT_NAME core)
set_target_properties(halyward_warnings PROPERTIES EXPORT_NAME warnings)
# The header-only stand-ins for libcurl and libcrypto, which the library opens on first use.
set_target_properties(halyward_curl_headers PROPERTIES EXPORT_NAME curl_headers)
set_target_properties(halyward_crypto_headers PROPERTIES EXPORT_NAME crypto_headers)
install(TARGETS halyward_core halyward_warnings halyward_curl_headers halyward_crypto_headers
                ${_halyward_modules}
        EXPORT halywardTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/core/halyward"
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.hpp" PATTERN "internal" EXCLUDE)

set(HALYWARD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/halyward)
install(EXPORT halywardTargets NAMESPACE halyward:: DESTINATION ${HALYWARD_CMAKE_DIR}
        COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/halywardConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/halywardConfig.cmake" INSTALL_DESTINATION ${HALYWARD_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/halywardConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/halywardConfig.cmake"
              "${PROJECT_BINARY_DIR}/halywardConfigVersion.cmake"
        DESTINATION ${HALYWARD_CMAKE_DIR} COMPONENT development)

# The Debian package: the runtime component only, installed under /usr, its dependencies
# read from the shared libraries the executables link.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME halyward)
set(CPACK_PACKAGE_VENDOR "Halyward")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${HALYWARD_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "keyboard-driven tiling window manager and web-app maker")
# CPack puts the summary on the Description line itself; this is the extended text.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Halyward tiles windows with keyboard chords, binds hotkeys to applications,\n\
saves and applies layouts, and turns any web site into a stand-alone web app\n\
with its own window and website data.\n\
.\n\
This package holds the halyward command line, the web-app host, the manual\n\
page and the shell completions for bash, zsh and fish.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libcurl, libcrypto and libidn2 are opened on first use (so that commands that never fetch,
# hash or read an address start without them), which the shared-library scan cannot see;
# name them here.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4 (>= 7.85), libssl3, libidn2-0")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME halyward)
set(CPACK_DEBIAN_RUNTIME_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
include(CPack)
