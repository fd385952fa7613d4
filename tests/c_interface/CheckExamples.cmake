# The examples that the guide shows are those that are compiled and run.
file(READ ${GUIDE} guide)
foreach(example IN LISTS EXAMPLES)
  file(READ ${example} text)
  string(FIND "${guide}" "\n${text}```\n" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "${GUIDE} does not show ${example} as it is")
  endif()
endforeach()
