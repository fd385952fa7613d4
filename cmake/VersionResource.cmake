# vexil_add_version_resource(TARGET DESCRIPTION): what Windows shows of a program or DLL.

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
  configure_file(${PROJECT_SOURCE_DIR}/cmake/VersionResource.rc.in ${resource}.in @ONLY)
  # The target's file name is known to generator expressions only.
  file(GENERATE OUTPUT ${resource} INPUT ${resource}.in)
  target_sources(${target} PRIVATE ${resource})
endfunction()
