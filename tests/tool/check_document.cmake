# Checks that every example of a document (between lines ```ds and ```) is in a script, blanks and
# line ends aside.
#
#   cmake -DDOCUMENT=... -DSCRIPT=... -P check_document.cmake
cmake_minimum_required(VERSION 3.25)

function(read_words file out)
    file(READ "${file}" text)
    # CMake takes these apart in lists.
    string(REPLACE ";" "<semicolon>" text "${text}")
    string(REPLACE "[" "<open>" text "${text}")
    string(REPLACE "]" "<close>" text "${text}")
    string(REGEX REPLACE "[ \t\r\n]+" " " text "${text}")
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

read_words("${DOCUMENT}" document)
read_words("${SCRIPT}" script)
set(count 0)
while(TRUE)
    string(FIND "${document}" "```ds " start)
    if(start EQUAL -1)
        break()
    endif()
    math(EXPR start "${start} + 6")
    string(SUBSTRING "${document}" ${start} -1 document)
    string(FIND "${document}" " ```" end)
    string(SUBSTRING "${document}" 0 ${end} example)
    string(SUBSTRING "${document}" ${end} -1 document)
    string(FIND "${script}" "${example}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "${SCRIPT} doesn't have:\n${example}")
    endif()
    math(EXPR count "${count} + 1")
endwhile()
if(count LESS 20)
    message(FATAL_ERROR "${DOCUMENT} has only ${count} examples")
endif()
