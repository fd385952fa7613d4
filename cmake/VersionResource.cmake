# vexil_add_version_resource(TARGET DESCRIPTION): what Windows shows of a program or DLL and, for programs, what they
# ask of Windows: texts as UTF-8.

if(WIN32)
  enable_language(RC)
endif()

function(vexil_add_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  # VFT_DLL, VFT_APP
  set(file_type 1)
  if(type STREQUAL "SHARED_LIBRARY")
    set(file_type 2)
  endif()
  string(REPLACE "." "," comma_version ${PROJECT_VERSION})
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  set(manifest_resource "")
  if(type STREQUAL "EXECUTABLE")
    if(MSVC)
      # Its linker would embed another one.
      target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/Program.manifest)
    else()
      set(manifest_resource "1 24 \"${PROJECT_SOURCE_DIR}/cmake/Program.manifest\"")
    endif()
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/VersionResource.rc.in ${resource}.in @ONLY)
  # The target's file name is known to generator expressions only.
  file(GENERATE OUTPUT ${resource} INPUT ${resource}.in)
  target_sources(${target} PRIVATE ${resource})
endfunction()
