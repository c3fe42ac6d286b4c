# Runs the example that the help of each command of ZEL shows, in a copy of examples/ and in the order of the
# help: each ends with 0, but for `diff` and `rewrite`, whose examples show a difference and a loss, and `lsp`,
# whose client has gone.
#
#   cmake -DZEL=... -DFOLDER=... -DOUT=FOLDER -P check_examples.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}/presets")
file(COPY "${FOLDER}/examples" DESTINATION "${OUT}")
set(ENV{ZEL_PATH} "${OUT}")
cmake_path(GET ZEL PARENT_PATH program)
set(ENV{PATH} "${program}:$ENV{PATH}")
set(code_diff 1)
set(code_rewrite 1)
set(code_lsp 1)

# run_examples(WORD...): of the command of these words, or of all that begin with them.
function(run_examples)
    execute_process(COMMAND "${ZEL}" ${ARGN} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
    # CMake takes these apart in lists.
    string(REPLACE ";" "<semicolon>" help "${help}")
    string(REPLACE "[" "<open>" help "${help}")
    string(REPLACE "]" "<close>" help "${help}")
    if(help MATCHES "\nSubcommands:(\n  [^\n]*)+")
        string(REGEX MATCHALL "\n  [a-z]+ " names "${CMAKE_MATCH_0}")
        foreach(name IN LISTS names)
            string(STRIP "${name}" name)
            run_examples(${ARGN} ${name})
        endforeach()
        set(calls ${calls} PARENT_SCOPE)
        return()
    endif()
    list(JOIN ARGN " " words)
    if(NOT help MATCHES "\nExample:\n  ([^\n]*zel ${words}[^\n]*)\n")
        message(SEND_ERROR "the help of zel ${words} has no example of it")
        return()
    endif()
    string(REPLACE "<semicolon>" ";" line "${CMAKE_MATCH_1}")
    string(REPLACE "<open>" "[" line "${line}")
    string(REPLACE "<close>" "]" line "${line}")
    set(code 0)
    if(DEFINED code_${words})
        set(code ${code_${words}})
    endif()
    execute_process(COMMAND sh -c "${line}" WORKING_DIRECTORY "${OUT}" INPUT_FILE /dev/null
        OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
    if(NOT result EQUAL code)
        message(SEND_ERROR "${line}\nended with ${result}:\n${output}${errors}")
    endif()
    math(EXPR calls "${calls} + 1")
    set(calls ${calls} PARENT_SCOPE)
endfunction()

set(calls 0)
run_examples()
if(calls LESS 18)
    message(SEND_ERROR "the help of zel has only ${calls} commands")
endif()
