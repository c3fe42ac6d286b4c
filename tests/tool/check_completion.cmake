# What bash completes with the script of `zel completion bash`, for lines whose last word is being typed. The scripts
# for zsh and fish are read by these shells, where they are installed.
#
#   cmake -DZEL=... -DOUT=FOLDER -P check_completion.cmake
cmake_minimum_required(VERSION 3.25)

file(MAKE_DIRECTORY "${OUT}")
foreach(shell bash zsh fish)
    execute_process(COMMAND "${ZEL}" completion ${shell} OUTPUT_FILE "${OUT}/zel.${shell}"
        COMMAND_ERROR_IS_FATAL ANY)
    find_program(program_${shell} ${shell})
    if(program_${shell})
        execute_process(COMMAND "${program_${shell}}" -n "${OUT}/zel.${shell}" ERROR_VARIABLE errors
            RESULT_VARIABLE result)
        if(NOT result EQUAL 0)
            message(SEND_ERROR "${shell} can't read its script:\n${errors}")
        endif()
    endif()
endforeach()

# complete(EXPECTED WORD...): what follows the words, the last of which may be "".
function(complete expected)
    list(JOIN ARGN "' '" words)
    execute_process(COMMAND "${program_bash}" -c
            "source '${OUT}/zel.bash'; COMP_WORDS=('${words}'); COMP_CWORD=$((\${#COMP_WORDS[@]} - 1)); \
_zel; echo \"\${COMPREPLY[*]}\""
        OUTPUT_VARIABLE output ERROR_VARIABLE errors OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT "${output}${errors}" STREQUAL expected)
        message(SEND_ERROR "after '${words}' bash completes '${output}${errors}', not '${expected}'")
    endif()
endfunction()

complete("migrate" zel mig)
complete("save show" zel preset s)
complete("--as --allow-loss" zel migrate a b --a)
complete("text binary compact channels node" zel migrate a b c --as "")
complete("bash" zel completion b)
complete("" zel check exa)
complete("" zel eval --values check)
complete("--version" zel --v)
