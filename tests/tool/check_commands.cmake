# Checks that docs/tool.md names every command of ZEL and of its shell with its usage, and in a command's
# section its options; that docs/zel.1 names every command and is a page without warnings.
#
#   cmake -DZEL=... -DFOLDER=... -P check_commands.cmake
cmake_minimum_required(VERSION 3.25)

# CMake takes some characters apart in lists.
function(escape text out)
    string(REPLACE ";" "<semicolon>" text "${text}")
    string(REPLACE "[" "<open>" text "${text}")
    string(REPLACE "]" "<close>" text "${text}")
    string(REPLACE "\\|" "|" text "${text}")
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

function(require text part document)
    string(FIND "${text}" "${part}" place)
    if(place EQUAL -1)
        message(SEND_ERROR "${document} doesn't have: ${part}")
    endif()
endfunction()

# run(OUT ARG...): what ZEL prints; a shell gets the line `help`.
function(run out)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E echo help COMMAND "${ZEL}" ${ARGN}
        WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL LAST)
    escape("${text}" text)
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

# check_command(WORD...): the command of these words, or all that begin with them.
function(check_command)
    run(help ${ARGN} --help)
    if(help MATCHES "\nSubcommands:(\n  [^\n]*)+")
        string(REGEX MATCHALL "\n  [a-z]+ " names "${CMAKE_MATCH_0}")
        foreach(name IN LISTS names)
            string(STRIP "${name}" name)
            check_command(${ARGN} ${name})
        endforeach()
        return()
    endif()
    string(REGEX MATCH "Usage: ([^\n]+)" usage "${help}")
    string(REGEX REPLACE "<open>OPTIONS<close> |  *<open>OPTIONS<close>$" "" usage "${CMAKE_MATCH_1}")
    require("${document}" "`${usage}" docs/tool.md)

    list(GET ARGN 0 name)
    string(REGEX MATCH "\n## `zel ${name}.*" section "${document}")
    string(REGEX REPLACE "^(\n[^\n]*)\n## .*" "\\1" section "${section}")
    string(REGEX MATCHALL "\n +--[a-z-]+" options "${help}")
    foreach(option IN LISTS options)
        string(STRIP "${option}" option)
        if(NOT option MATCHES "^--(json|messages|no-scripts)$")
            require("${section}" "${option}" "docs/tool.md, section ${name},")
        endif()
    endforeach()
    if(NOT page MATCHES "\n[.]BI \"?${name}[ \"\n]")
        message(SEND_ERROR "docs/zel.1 doesn't have: ${name}")
    endif()
endfunction()

find_program(man man)
if(man)
    execute_process(COMMAND "${man}" -l --warnings "${FOLDER}/docs/zel.1" OUTPUT_QUIET ERROR_VARIABLE warnings)
    if(NOT warnings STREQUAL "")
        message(SEND_ERROR "docs/zel.1: ${warnings}")
    endif()
endif()

file(READ "${FOLDER}/docs/tool.md" document)
escape("${document}" document)
file(READ "${FOLDER}/docs/zel.1" page)
escape("${page}" page)
check_command()

run(help shell examples/transform.ds)
string(REGEX REPLACE "\n$" "" help "${help}")
string(REPLACE "\n" ";" lines "${help}")
list(LENGTH lines count)
if(count LESS 40)
    message(SEND_ERROR "the help of the shell has only ${count} commands")
endif()
foreach(line IN LISTS lines)
    require("${document}" "`${line}`" docs/tool.md)
endforeach()
