# The interface as a later version might have it: each struct with more members at its end.
file(READ ${HEADER} text)
string(REGEX REPLACE "\n} (vexil_(gpu|monitor|system|memory|options));" "\n  const char* new_text;\n  int64_t new_number;\n} \\1;"
  newer "${text}")
string(REGEX MATCHALL "new_text" added "${newer}")
list(LENGTH added count)
if(NOT count EQUAL 5)
  message(FATAL_ERROR "${count} structs were grown instead of 5")
endif()
file(WRITE ${NEWER} "${newer}")
