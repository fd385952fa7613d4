# Makes the package and unpacks it, then configures, builds and runs the consumer with the unpacked folder in
# CMAKE_PREFIX_PATH and nothing else that points to Vexil.

set(package ${BUILD_DIR}/package-test/package)
set(consumer ${BUILD_DIR}/package-test/consumer)
file(REMOVE_RECURSE ${BUILD_DIR}/package-test)

function(step)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV}\nfailed with ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

step(${CPACK} --config ${BUILD_DIR}/CPackConfig.cmake -G ZIP -B ${package})
file(GLOB archive ${package}/*.zip)
file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${package})
string(REGEX REPLACE "\\.zip$" "" prefix ${archive})

# The toolchain file would let the consumer see the libraries that Vexil itself was built with.
set(ENV{VEXIL_DEPS} ${prefix})
step(${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${consumer} -G Ninja
     -D CMAKE_BUILD_TYPE=Release -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_PREFIX_PATH=${prefix})
step(${CMAKE_COMMAND} --build ${consumer})
step(${EMULATOR} ${consumer}/consumer.exe)
string(REPLACE "." "\\." version ${VERSION})
if(NOT output MATCHES "interface 1, [0-9]+ GPUs on Windows, result of Vexil ${version}, hybrid symbols: 1 1")
  message(FATAL_ERROR "The consumer printed\n${output}")
endif()
