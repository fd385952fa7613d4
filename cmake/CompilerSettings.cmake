# vexil_settings: what every target of this project is compiled with. It is not installed.

add_library(vexil_settings INTERFACE)

if(MSVC)
  # Log lines name their source file; the folder that it was built in is nobody's business. Symbols for release builds, too.
  cmake_path(NATIVE_PATH PROJECT_SOURCE_DIR source_dir)
  set(options /W4 /permissive- /utf-8 /guard:cf /Zi "/d1trimfile:${source_dir}\\")
  target_link_options(vexil_settings INTERFACE /guard:cf /DEBUG /OPT:REF /OPT:ICF)
  # Standard functions such as getenv, for which Microsoft has replacements of its own.
  target_compile_definitions(vexil_settings INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  set(options
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -fstack-protector-strong
    # Log lines name their source file; the folder that it was built in is nobody's business.
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  # _FORTIFY_SOURCE needs optimisation.
  target_compile_definitions(vexil_settings INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 warns of overlapping copies inside std::string's own assignment, where there are none.
  list(APPEND options -Wno-restrict)
endif()
if(PROJECT_IS_TOP_LEVEL)
  # In somebody else's build a new compiler's new warning is no reason to stop.
  list(APPEND options $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
endif()
target_compile_options(vexil_settings INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")

if(MINGW)
  target_link_options(vexil_settings INTERFACE -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat
    # The same sources make the same bytes, whenever they are linked.
    -Wl,--no-insert-timestamp)
  # The stack protector's few functions, as a library that cannot be checked by itself.
  add_library(vexil_stack_guard STATIC ${CMAKE_CURRENT_LIST_DIR}/StackGuard.cpp)
  target_compile_options(vexil_stack_guard PRIVATE -O2 -fno-stack-protector)
  target_link_libraries(vexil_settings INTERFACE vexil_stack_guard)
endif()

if(VEXIL_SANITIZE)
  add_compile_options(-fsanitize=${VEXIL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VEXIL_SANITIZE})
endif()
