# vemko_add_resources(PROGRAM "What it is"): gives a Windows program its icon, manifest and version; the toolkit's
# resources too where TOOLKIT is the third argument. In a library of their own, because the resource compiler
# takes none of the compiler's options.
set(VEMKO_FULL_VERSION ${PROJECT_VERSION}.0.8)
string(REPLACE "." "," VEMKO_RC_VERSION ${VEMKO_FULL_VERSION})

function(vemko_add_resources VEMKO_RC_PROGRAM VEMKO_RC_DESCRIPTION)
  enable_language(RC)
  set(VEMKO_RC_INCLUDES "")
  if("${ARGN}" STREQUAL TOOLKIT)
    set(VEMKO_RC_INCLUDES "#define wxUSE_NO_MANIFEST 1\n#include <wx/msw/wx.rc>")
  endif()
  set(resources ${CMAKE_BINARY_DIR}/generated/${VEMKO_RC_PROGRAM}.rc)
  configure_file(data/windows/program.rc.in ${resources} @ONLY)
  set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS
    "${CMAKE_SOURCE_DIR}/data/windows/vemko-studio.ico;${CMAKE_SOURCE_DIR}/data/windows/program.manifest")
  add_library(${VEMKO_RC_PROGRAM}-resources OBJECT ${resources})
  if("${ARGN}" STREQUAL TOOLKIT)
    target_include_directories(${VEMKO_RC_PROGRAM}-resources PRIVATE ${wxWidgets_INCLUDE_DIRS})
  endif()
  target_sources(${VEMKO_RC_PROGRAM} PRIVATE $<TARGET_OBJECTS:${VEMKO_RC_PROGRAM}-resources>)
endfunction()
