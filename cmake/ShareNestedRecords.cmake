cmake_policy(VERSION 3.25)

# Copying a record shares its nested records; flatc's copies clone them. Where flatc writes
#     (o.gpu) ? new GPUT(*o.gpu) : nullptr
# this writes o.gpu. Every table field and every vector of tables of the schema must come by exactly
# once: another flatc that writes its copies in another way fails the build instead of changing them.

file(READ ${HEADER} header)
set(clone "\\(([A-Za-z0-9_.]+)\\) \\? new [A-Za-z0-9_:]+\\(\\*[A-Za-z0-9_.]+\\) : nullptr")
string(REGEX MATCHALL "${clone}" clones "${header}")
list(LENGTH clones clone_count)

file(STRINGS ${SCHEMA} tables REGEX "^table ")
list(TRANSFORM tables REPLACE "^table ([A-Za-z0-9_]+).*" "\\1")
file(STRINGS ${SCHEMA} fields REGEX "^ +[a-z_0-9]+: ")
set(expected_count 0)
foreach(field IN LISTS fields)
  if(field MATCHES "^ +[a-z_0-9]+: \\[?([A-Za-z0-9_]+)" AND CMAKE_MATCH_1 IN_LIST tables)
    math(EXPR expected_count "${expected_count} + 1")
  endif()
endforeach()

if(NOT clone_count EQUAL expected_count OR expected_count EQUAL 0)
  message(FATAL_ERROR "flatc clones ${clone_count} nested records where the schema has ${expected_count}: "
                      "this version of flatc writes its copies in another way")
endif()
string(REGEX REPLACE "${clone}" "\\1" header "${header}")
file(WRITE ${HEADER} "${header}")
