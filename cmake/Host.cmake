# The host side: libpdfannotations-host (C interface, shared), the pdfannotations-host command,
# and the link preview, which only the command has.
find_package(Threads REQUIRED)

set(PDFA_HOST_VERSION 1.0.0)
set(PDFA_HOST_SOVERSION 1)

# What the library and the command share; the library compiles it once more, position
# independent, together with the two services it takes from below.
set(pdfa_host_core_sources
  ${CMAKE_SOURCE_DIR}/src/host/SettingsText.cpp
  ${CMAKE_SOURCE_DIR}/src/host/StopFlagFile.cpp
  ${CMAKE_SOURCE_DIR}/src/host/ProgressListener.cpp
  ${CMAKE_SOURCE_DIR}/src/host/OutputFiles.cpp
  ${CMAKE_SOURCE_DIR}/src/host/Job.cpp)

add_library(pdfannotations_host SHARED
  ${CMAKE_SOURCE_DIR}/src/host/HostAPI.cpp
  ${pdfa_host_core_sources}
  ${CMAKE_SOURCE_DIR}/src/frontend/security.cpp
  ${CMAKE_SOURCE_DIR}/src/platform/FileSpace.cpp
  ${CMAKE_SOURCE_DIR}/src/platform/TemporaryDirectory.cpp)
set_target_properties(pdfannotations_host PROPERTIES
  OUTPUT_NAME pdfannotations-host
  VERSION ${PDFA_HOST_VERSION}
  SOVERSION ${PDFA_HOST_SOVERSION}
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(pdfannotations_host
  PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>
  PRIVATE ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(pdfannotations_host PRIVATE Threads::Threads)

# Everything else in src/host but the C interface and main: core, commands, preview.
file(GLOB pdfa_host_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/host/*.cpp)
list(REMOVE_ITEM pdfa_host_sources
  ${CMAKE_SOURCE_DIR}/src/host/HostAPI.cpp
  ${CMAKE_SOURCE_DIR}/src/host/host_main.cpp)
add_library(pdfa_host STATIC ${pdfa_host_sources})
target_include_directories(pdfa_host PUBLIC ${CMAKE_SOURCE_DIR}/src)
target_link_libraries(pdfa_host PUBLIC pdfa_frontend_services pdfa_platform Threads::Threads)

add_executable(pdfannotations-host ${CMAKE_SOURCE_DIR}/src/host/host_main.cpp)
target_link_libraries(pdfannotations-host PRIVATE pdfa_host)
