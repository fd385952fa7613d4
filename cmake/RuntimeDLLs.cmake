# vexil_copy_runtime_dlls(TARGET): puts the DLLs that a program needs beside it.

function(vexil_copy_runtime_dlls target)
  if(NOT WIN32)
    return()
  endif()
  set(dlls $<TARGET_RUNTIME_DLLS:${target}>)
  if(MINGW)
    list(APPEND dlls ${VEXIL_COMPILER_DLLS})
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${dlls} $<TARGET_FILE_DIR:${target}>
    COMMAND_EXPAND_LISTS VERBATIM)
endfunction()

if(MINGW)
  # The compiler's own runtime is shared too: standard library types and exceptions cross the DLL's boundary.
  set(VEXIL_COMPILER_DLLS "")
  foreach(dll IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    find_file(VEXIL_DLL_${dll} ${dll} PATH_SUFFIXES bin REQUIRED)
    list(APPEND VEXIL_COMPILER_DLLS ${VEXIL_DLL_${dll}})
  endforeach()
endif()
