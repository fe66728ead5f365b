# Makes the linker's version script from the lists of exported names.
# In: OUTPUT, the file to write; EXPORT_LISTS, the lists: one name a line, under headings that begin with #.

set(names "")
foreach(file IN LISTS EXPORT_LISTS)
  file(STRINGS ${file} lines REGEX "^[^#]")
  list(APPEND names ${lines})
endforeach()
list(SORT names)
list(LENGTH names total)
list(REMOVE_DUPLICATES names)
list(LENGTH names distinct)
if(NOT total EQUAL distinct)
  message(FATAL_ERROR "A name stands twice in the export lists (${total} lines, ${distinct} names).")
endif()
list(JOIN names ";\n    " joined)
file(WRITE ${OUTPUT} "{\n  global:\n    ${joined};\n  local:\n    *;\n};\n")
