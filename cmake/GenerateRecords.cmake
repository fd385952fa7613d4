# vexil_records: the result records as C++, generated from the schema, and the one folder that includes start from.

find_path(FLATBUFFERS_INCLUDE_DIR flatbuffers/flatbuffers.h REQUIRED)
find_program(FLATC flatc PATH_SUFFIXES tools/flatbuffers REQUIRED)

set(VEXIL_SCHEMA ${PROJECT_SOURCE_DIR}/Vexil/FlatBuffers/DetectionResult.fbs)
# Laid out as the sources are.
set(VEXIL_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
set(VEXIL_RECORDS_HEADER ${VEXIL_GENERATED_DIR}/Vexil/FlatBuffers/DetectionResult_generated.h)

add_custom_command(
  OUTPUT ${VEXIL_RECORDS_HEADER}
  COMMAND ${FLATC} --cpp --cpp-std c++17 --scoped-enums --gen-object-api --gen-compare --cpp-ptr-type std::shared_ptr
          --cpp-include algorithm --cpp-include memory --reflect-names
          -o ${VEXIL_GENERATED_DIR}/Vexil/FlatBuffers ${VEXIL_SCHEMA}
  COMMAND ${CMAKE_COMMAND} -D HEADER=${VEXIL_RECORDS_HEADER} -D SCHEMA=${VEXIL_SCHEMA}
          -P ${CMAKE_CURRENT_LIST_DIR}/ShareNestedRecords.cmake
  DEPENDS ${VEXIL_SCHEMA} ${CMAKE_CURRENT_LIST_DIR}/ShareNestedRecords.cmake
  COMMENT "Generating the result records"
  VERBATIM)
add_custom_target(vexil_generate_records DEPENDS ${VEXIL_RECORDS_HEADER})

add_library(vexil_records INTERFACE)
add_dependencies(vexil_records vexil_generate_records)
target_include_directories(vexil_records INTERFACE ${PROJECT_SOURCE_DIR})
target_include_directories(vexil_records SYSTEM INTERFACE ${FLATBUFFERS_INCLUDE_DIR} ${VEXIL_GENERATED_DIR})
