# What "cmake --install" and "cpack" put together: everything that a host needs to build and run, so that
# find_package(Vexil) with the folder in CMAKE_PREFIX_PATH is all it takes.

include(CMakePackageConfigHelpers)

set(VEXIL_LICENSES_DIR "" CACHE PATH "Licence texts of the libraries that are shipped")
if(NOT VEXIL_LICENSES_DIR AND EXISTS "$ENV{VEXIL_DEPS}/licenses")
  set(VEXIL_LICENSES_DIR $ENV{VEXIL_DEPS}/licenses)
endif()

install(TARGETS vexil EXPORT VexilTargets
  RUNTIME DESTINATION bin
  ARCHIVE DESTINATION lib
  INCLUDES DESTINATION include include/Vexil/third_party)
if(TARGET vexil_c)
  install(TARGETS vexil_c RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
  if(MINGW)
    install(FILES ${PROJECT_BINARY_DIR}/c_interface/vexil_c.lib DESTINATION lib)
  endif()
  install(FILES c_interface/vexil_c.h c_interface/vexil.hpp DESTINATION include)
  # For compilers with an import format of their own.
  install(FILES c_interface/vexil_c.def DESTINATION share/Vexil)
endif()
if(VEXIL_BUILD_PROGRAMS)
  install(TARGETS vexil_exe vexil_sim_exe RUNTIME DESTINATION bin)
endif()

install(FILES Vexil/Vexil.h DESTINATION include/Vexil)
install(FILES ${VEXIL_RECORDS_HEADER} DESTINATION include/Vexil/FlatBuffers)
install(FILES ${VEXIL_SCHEMA} docs/vexil.schema.json DESTINATION share/Vexil)

# The records are made of these headers, in the very version that generated them.
install(DIRECTORY ${FLATBUFFERS_INCLUDE_DIR}/flatbuffers DESTINATION include/Vexil/third_party)
# For hosts that configure logging themselves; they have to share the library's log4cxx.
find_path(LOG4CXX_INCLUDE_DIR log4cxx/logger.h REQUIRED)
install(DIRECTORY ${LOG4CXX_INCLUDE_DIR}/log4cxx DESTINATION include/Vexil/third_party)
install(FILES $<TARGET_LINKER_FILE:log4cxx> DESTINATION lib)

install(FILES README.md CHANGELOG.md DESTINATION share/doc/Vexil)
# Side by side, as their links expect.
install(DIRECTORY docs examples DESTINATION share/doc/Vexil)
install(FILES simulation/README.md DESTINATION share/doc/Vexil/simulation)
install(FILES tests/machines/five-gpus.json tests/machines/hybrid-laptop.json DESTINATION share/doc/Vexil/tests/machines)
if(VEXIL_LICENSES_DIR)
  install(DIRECTORY ${VEXIL_LICENSES_DIR}/ DESTINATION share/licenses/Vexil)
else()
  message(WARNING "VEXIL_LICENSES_DIR names no folder: what is installed or packed lacks the licence texts of the "
                  "libraries in it, which have to accompany them.")
endif()

install(EXPORT VexilTargets NAMESPACE Vexil:: DESTINATION lib/cmake/Vexil)

if(MSVC)
  foreach(target IN ITEMS vexil vexil_c vexil_exe vexil_sim_exe)
    if(TARGET ${target})
      install(FILES $<TARGET_PDB_FILE:${target}> DESTINATION bin)
    endif()
  endforeach()
endif()

# What the library loads, and what that loads in turn: of log4cxx's own libraries its target does not tell. Windows' DLLs
# are left out, Microsoft's runtime among them, and are not found elsewhere than on Windows.
if(MINGW)
  set(pe_reader "set(CMAKE_GET_RUNTIME_DEPENDENCIES_TOOL objdump)
  set(CMAKE_GET_RUNTIME_DEPENDENCIES_COMMAND \"${CMAKE_OBJDUMP}\")")
endif()
if(NOT CMAKE_HOST_WIN32)
  set(not_found UNRESOLVED_DEPENDENCIES_VAR windows_dlls)
endif()
install(CODE "
  set(CMAKE_GET_RUNTIME_DEPENDENCIES_PLATFORM windows+pe)
  ${pe_reader}
  file(GET_RUNTIME_DEPENDENCIES LIBRARIES \"$<TARGET_FILE:vexil>\" DIRECTORIES \"$<TARGET_FILE_DIR:log4cxx>\"
    RESOLVED_DEPENDENCIES_VAR dlls ${not_found}
    PRE_EXCLUDE_REGEXES [[^(api|ext)-ms-]] POST_EXCLUDE_REGEXES [[/[Ss]ystem32/]])
  file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/bin\" FILES \${dlls})
  foreach(dll IN LISTS dlls)
    cmake_path(GET dll FILENAME name)
    list(APPEND names \${name})
  endforeach()
  file(WRITE \"${PROJECT_BINARY_DIR}/package/VexilRuntimeDLLs.cmake\" \"set(_vexil_dlls \${names})\\n\")")
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/package/VexilFiles.cmake CONTENT
"set(_vexil_log4cxx_dll \"$<TARGET_FILE_NAME:log4cxx>\")
set(_vexil_log4cxx_library \"$<TARGET_LINKER_FILE_NAME:log4cxx>\")
")
configure_package_config_file(cmake/VexilConfig.cmake.in ${PROJECT_BINARY_DIR}/package/VexilConfig.cmake
  INSTALL_DESTINATION lib/cmake/Vexil)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/VexilConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/VexilConfig.cmake ${PROJECT_BINARY_DIR}/package/VexilConfigVersion.cmake
  ${PROJECT_BINARY_DIR}/package/VexilFiles.cmake ${PROJECT_BINARY_DIR}/package/VexilRuntimeDLLs.cmake
  DESTINATION lib/cmake/Vexil)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME Vexil)
# Vexil::Vexil is for hosts of this compiler only.
string(REGEX MATCH "^[0-9]+" compiler_version ${CMAKE_CXX_COMPILER_VERSION})
string(TOLOWER ${CMAKE_CXX_COMPILER_ID}${compiler_version} toolset)
if(MINGW)
  string(REPLACE "gnu" "gcc" toolset mingw-${toolset})
endif()
string(REPLACE "_" "." package_version ${VEXIL_VERSION_TEXT})
set(CPACK_PACKAGE_FILE_NAME Vexil-${package_version}-windows-x64-${toolset})
set(CPACK_STRIP_FILES ON)
include(CPack)
