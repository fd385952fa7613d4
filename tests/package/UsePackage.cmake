# Installs the build, then configures, builds and runs the consumer with the installed folder in
# CMAKE_PREFIX_PATH and nothing else that points to Vexil.

set(prefix ${BUILD_DIR}/package-test/prefix)
set(consumer ${BUILD_DIR}/package-test/consumer)
file(REMOVE_RECURSE ${BUILD_DIR}/package-test)
# The toolchain file would let the consumer see the libraries that Vexil itself was built with.
set(ENV{VEXIL_DEPS} ${prefix})

function(step)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}\nfailed with ${result}:\n${output}")
  endif()
  message("${output}")
endfunction()

step(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
step(${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${consumer} -G Ninja
     -D CMAKE_BUILD_TYPE=Release -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_PREFIX_PATH=${prefix})
step(${CMAKE_COMMAND} --build ${consumer})
step(${EMULATOR} ${consumer}/consumer.exe)
