# Shared build settings and the helpers that turn one folder of core/halyward into one
# static library. Each subsystem is its own library so that a change in one folder never
# forces the others to rebuild, and so that the dependency graph between subsystems stays
# visible in core/CMakeLists.txt.

# The number writer (base/number_text.cpp) needs std::to_chars for doubles, which Apple's
# libc++ has from macOS 13.3 on.
if(APPLE AND CMAKE_OSX_DEPLOYMENT_TARGET AND CMAKE_OSX_DEPLOYMENT_TARGET VERSION_LESS 13.3)
  message(FATAL_ERROR "Halyward's core needs macOS 13.3 or later, but CMAKE_OSX_DEPLOYMENT_TARGET "
                      "is ${CMAKE_OSX_DEPLOYMENT_TARGET}.")
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
# Boost's compiled libraries are built against one standard library (libstdc++ on Debian),
# which a build with another (the libcxx preset) cannot link. Such a build compiles
# Boost.JSON and Boost.URL itself, from the sources Boost ships among its headers, into one
# library that stands in for both.
option(HALYWARD_BOOST_FROM_SOURCE "Compile Boost.JSON and Boost.URL here instead of linking Boost's" OFF)
if(HALYWARD_BOOST_FROM_SOURCE)
  if(HALYWARD_INSTALL)
    message(FATAL_ERROR "A build with HALYWARD_BOOST_FROM_SOURCE is for testing and installs "
                        "nothing: configure it with -DHALYWARD_INSTALL=OFF.")
  endif()
  find_package(Boost 1.81 CONFIG REQUIRED)
  if(NOT TARGET halyward_boost)
    add_library(halyward_boost STATIC "${CMAKE_CURRENT_LIST_DIR}/boost_sources.cpp")
    target_link_libraries(halyward_boost PUBLIC Boost::headers)
    set_target_properties(halyward_boost PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(Boost::json ALIAS halyward_boost)
    add_library(Boost::url ALIAS halyward_boost)
  endif()
else()
  # Boost's compiled parts are linked in: as shared libraries they are loaded and relocated
  # at the start of every `halyward` command, about a third of its start-up.
  if(NOT DEFINED Boost_USE_STATIC_LIBS)
    set(Boost_USE_STATIC_LIBS ON)
  endif()
  find_package(Boost 1.81 CONFIG REQUIRED COMPONENTS json url)
endif()
# Header-only; the number reader (base/number_text.cpp) reads doubles with it.
find_package(FastFloat CONFIG REQUIRED)
pkg_check_modules(PCRE2 REQUIRED IMPORTED_TARGET libpcre2-8)
pkg_check_modules(UTF8PROC REQUIRED IMPORTED_TARGET libutf8proc)
if(APPLE)
  # macOS has libuuid's functions in its system library and ships no uuid.pc.
  add_library(PkgConfig::UUID INTERFACE IMPORTED)
else()
  pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)
endif()
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
# The webapps module compares the hosts it copies into bundles by their SHA-256 digests.
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
# 7.85 brought CURLOPT_PROTOCOLS_STR, which the site fetcher uses to stay on http(s).
find_package(CURL 7.85 REQUIRED)
# The web-app library opens libcurl and libcrypto when it first needs them
# (webapps/shared_library.hpp), so that the command line does not load them, and the
# libraries behind libcurl, for every command; modules get their headers and the dynamic
# loader only. libidn2 is opened the same way and needs not even headers.
if(NOT TARGET halyward_curl_headers)
  add_library(halyward_curl_headers INTERFACE)
  target_include_directories(halyward_curl_headers INTERFACE ${CURL_INCLUDE_DIRS})
  target_link_libraries(halyward_curl_headers INTERFACE ${CMAKE_DL_LIBS})
  add_library(halyward_crypto_headers INTERFACE)
  target_include_directories(halyward_crypto_headers INTERFACE ${OPENSSL_INCLUDE_DIR})
  target_link_libraries(halyward_crypto_headers INTERFACE ${CMAKE_DL_LIBS})
endif()

if(NOT TARGET halyward_warnings)
  add_library(halyward_warnings INTERFACE)
  target_compile_options(halyward_warnings INTERFACE -Wall -Wextra)
  # GCC 12 reports impossible overlaps in std::string concatenation at -O3 (its bug 105329,
  # fixed in GCC 13), and a string "may be used uninitialized" when a std::variant that
  # holds one is moved out of an initializer list, a false positive of the same release's
  # optimiser; both warnings are silenced there only, so release builds keep -Werror.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(halyward_warnings INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
  endif()
  if(HALYWARD_WERROR)
    target_compile_options(halyward_warnings INTERFACE -Werror)
  endif()
  target_compile_features(halyward_warnings INTERFACE cxx_std_20)
endif()

set(HALYWARD_CORE_DIR "${PROJECT_SOURCE_DIR}/core")

# halyward_module(<name> [DEPS <targets>...])
# Builds core/halyward/<name>/*.cpp into the static library halyward_<name>. Headers are
# included as <halyward/<name>/<header>.hpp>.
function(halyward_module name)
  cmake_parse_arguments(M "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${HALYWARD_CORE_DIR}/halyward/${name}/*.cpp")
  file(GLOB headers CONFIGURE_DEPENDS "${HALYWARD_CORE_DIR}/halyward/${name}/*.hpp")
  if(sources)
    add_library(halyward_${name} STATIC ${sources} ${headers})
    target_include_directories(halyward_${name} PUBLIC "$<BUILD_INTERFACE:${HALYWARD_CORE_DIR}>")
    target_link_libraries(halyward_${name} PUBLIC ${M_DEPS} PRIVATE halyward_warnings)
    target_compile_features(halyward_${name} PUBLIC cxx_std_20)
    set_target_properties(halyward_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  else()
    add_library(halyward_${name} INTERFACE)
    target_include_directories(halyward_${name} INTERFACE "$<BUILD_INTERFACE:${HALYWARD_CORE_DIR}>")
    target_link_libraries(halyward_${name} INTERFACE ${M_DEPS})
    target_compile_features(halyward_${name} INTERFACE cxx_std_20)
  endif()
  set_property(GLOBAL APPEND PROPERTY HALYWARD_MODULES halyward_${name})
endfunction()
