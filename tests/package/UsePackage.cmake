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

function(expect pattern)
  if(NOT output MATCHES "${pattern}")
    message(FATAL_ERROR "This was printed:\n${output}\nand this expected: ${pattern}")
  endif()
endfunction()

function(configure project folder)
  step(${CMAKE_COMMAND} -S ${SOURCE_DIR}/${project} -B ${folder} -G Ninja -D CMAKE_BUILD_TYPE=Release
       -D CMAKE_PREFIX_PATH=${prefix} ${ARGN})
endfunction()

# A project of another platform or compiler is told why Vexil::Vexil is not for it.
function(expect_refusal pattern)
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${consumer}-refused -G Ninja
    -D CMAKE_PREFIX_PATH=${prefix} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  file(REMOVE_RECURSE ${consumer}-refused)
  if(result EQUAL 0)
    message(FATAL_ERROR "find_package accepted ${ARGN}")
  endif()
  # CMake breaks lines where it likes.
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
  expect("${pattern}")
endfunction()
if(CMAKE_HOST_UNIX)
  expect_refusal("Vexil is for 64-bit Windows; this project is built for Linux")
  expect_refusal("compiler is \"Clang [0-9.]+\". Vexil::C serves every compiler: find_package\\(Vexil COMPONENTS C\\)"
    -D CMAKE_TOOLCHAIN_FILE=${SOURCE_DIR}/microsoft-abi.cmake)
endif()

# The toolchain file would let the consumer see the libraries that Vexil itself was built with.
set(ENV{VEXIL_DEPS} ${prefix})
configure(consumer ${consumer} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
step(${CMAKE_COMMAND} --build ${consumer})
step(${EMULATOR} ${consumer}/consumer.exe)
string(REPLACE "." "\\." version ${VERSION})
expect("interface 1, [0-9]+ GPUs on Windows, result of Vexil ${version}, hybrid symbols: 1 1")

# The examples in the package, by themselves.
step(${CMAKE_COMMAND} -S ${prefix}/share/doc/Vexil/examples -B ${consumer}-examples -G Ninja
     -D CMAKE_BUILD_TYPE=Release -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
step(${CMAKE_COMMAND} --build ${consumer}-examples)
step(${RUN_WITH_DISPLAY} ${consumer}-examples/list_gpus.exe)
expect("Intel HD Graphics 630, Integrated")

# C, with the same compiler and with Microsoft's binary interface.
function(use_c_interface abi toolchain)
  configure(c_consumer ${consumer}-${abi} -D CMAKE_TOOLCHAIN_FILE=${toolchain})
  step(${CMAKE_COMMAND} --build ${consumer}-${abi})
  step(${RUN_WITH_DISPLAY} ${consumer}-${abi}/c_consumer.exe)
  expect("^${abi}'s ABI, Vexil ${version}, status 0, 1 GPUs: HD Graphics 630, DXGI 0")
endfunction()
if(CMAKE_HOST_UNIX)
  use_c_interface(GNU ${TOOLCHAIN})
  use_c_interface(Microsoft ${SOURCE_DIR}/microsoft-abi.cmake)
endif()
