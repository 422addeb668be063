# Writes a C++ header that holds the text of a file as one constant, so that
# a program can carry a resource (the findings page's script and style)
# without reading it at run time.
#
#   cmake -DINPUT=FILE -DOUTPUT=HEADER -DNAME=IDENTIFIER -P embed_text.cmake
#
# The text goes into a raw string literal; a file that holds its delimiter
# is refused.
file(READ "${INPUT}" text)
set(delimiter "msglint_embedded")
string(FIND "${text}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${INPUT} holds the delimiter )${delimiter}\"")
endif()
file(WRITE "${OUTPUT}.tmp"
  "// Generated from ${INPUT} by cmake/embed_text.cmake; do not edit.\n"
  "#pragma once\n"
  "inline constexpr char ${NAME}[] = R\"${delimiter}(${text})${delimiter}\";\n")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
