# Writes what stubs.S makes symbols of: a line for each function of the kernel library and for each name of the host.
# In: OUTPUT, the file to write; EXPORT_LISTS, the kernel library's names, one a line under headings that begin with #,
# where a heading that ends in "data" stands above objects; HOST, the host library; NM, the program of that name.

cmake_minimum_required(VERSION 3.22)

set(names "")
foreach(file IN LISTS EXPORT_LISTS)
  file(STRINGS ${file} lines)
  set(functions ON)
  foreach(line IN LISTS lines)
    if(line MATCHES "^#")
      string(REGEX MATCH " data$" data "${line}")
      string(COMPARE EQUAL "${data}" "" functions)
    elseif(functions)
      list(APPEND names ${line})
    endif()
  endforeach()
endforeach()

execute_process(
  COMMAND ${NM} -D -P --defined-only ${HOST}
  OUTPUT_VARIABLE symbols
  COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
set(text "")
foreach(symbol IN LISTS symbols)
  string(REGEX MATCH "^([^ ]+) (.) [0-9a-f]+ ([0-9a-f]+)$" matched "${symbol}")
  if(NOT matched)
    message(FATAL_ERROR "Not understood: ${symbol}")
  endif()
  set(name ${CMAKE_MATCH_1})
  set(size ${CMAKE_MATCH_3})
  if(name IN_LIST names)
    message(FATAL_ERROR "The host defines ${name}, which is an entry of the kernel library.")
  endif()
  if(CMAKE_MATCH_2 STREQUAL "T")
    string(APPEND text "host_function ${name}\n")
  else()
    string(APPEND text "host_object ${name}, 0x${size}\n")
  endif()
endforeach()
list(JOIN names "\nentry " entries)
file(WRITE ${OUTPUT} "${text}entry ${entries}\n")
