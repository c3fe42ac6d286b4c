# Checks that a document names the word of each row of a table, as `word` or `word(...`.
#
#   cmake -DTABLE=... -DROW=... -DLEAST=... -DDOCUMENT=... -P check_rows.cmake
#
# ROW is the regular expression of a row's beginning, its word in parentheses; LEAST is how many rows the
# table has at least, so that a table that is written in another way doesn't pass.
cmake_minimum_required(VERSION 3.25)

file(STRINGS "${TABLE}" rows REGEX "${ROW}")
file(READ "${DOCUMENT}" document)
list(LENGTH rows count)
if(count LESS LEAST)
    message(FATAL_ERROR "${TABLE}: only ${count} rows")
endif()
set(missing "")
foreach(row IN LISTS rows)
    string(REGEX MATCH "${ROW}" beginning "${row}")
    set(word "${CMAKE_MATCH_1}")
    if(NOT document MATCHES "`${word}[`(]")
        list(APPEND missing "${word}")
    endif()
endforeach()
if(missing)
    message(FATAL_ERROR "${DOCUMENT} doesn't name ${missing}")
endif()
