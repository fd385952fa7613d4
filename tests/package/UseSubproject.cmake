# Configures a project that builds Vexil as a part of its own, and compiles its one source.

function(step)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}\nfailed with ${result}:\n${output}")
  endif()
endfunction()

set(build ${BUILD_DIR}/subproject-test)
file(REMOVE_RECURSE ${build})
step(${CMAKE_COMMAND} -S ${SOURCE_DIR}/subproject -B ${build} -G Ninja -D CMAKE_BUILD_TYPE=Release
     -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D VEXIL_SOURCE_DIR=${VEXIL_SOURCE_DIR})
step(${CMAKE_COMMAND} --build ${build} --target vexil_generate_records CMakeFiles/subproject.dir/main.cpp.obj)
