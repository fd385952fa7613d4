# Runs COMMAND and fails unless it exits with STATUS and what it prints matches EXPECTED.
execute_process(COMMAND ${COMMAND} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result STREQUAL "${STATUS}" OR NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "${COMMAND}\nended with ${result} instead of ${STATUS}; of what it printed,\n${output}\n"
    "this was expected: ${EXPECTED}")
endif()
