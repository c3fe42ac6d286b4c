# Converts a text stream to binary and back, with and without the script, and compares with the input.
#
#   cmake -DZEL=... -DSCRIPT=... -DSTREAM=... -DFOLDER=... -DOUT=PREFIX -P check_convert.cmake
cmake_minimum_required(VERSION 3.25)

function(convert)
    execute_process(COMMAND "${ZEL}" convert ${ARGN} WORKING_DIRECTORY "${FOLDER}"
        OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR NOT "${output}${errors}" STREQUAL "")
        message(FATAL_ERROR "convert ${ARGN}: exit ${result}\n${output}${errors}")
    endif()
endfunction()

function(compare left right)
    execute_process(COMMAND diff -a -u "${left}" "${right}" WORKING_DIRECTORY "${FOLDER}"
        OUTPUT_VARIABLE difference RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "What comes back differs:\n${difference}")
    endif()
endfunction()

convert("${STREAM}" "${OUT}.bparms" --to binary)
convert("${OUT}.bparms" "${OUT}.parms" --to text)
compare("${STREAM}" "${OUT}.parms")
convert("${STREAM}" "${OUT}.script.bparms" --to binary --script "${SCRIPT}")
convert("${OUT}.script.bparms" "${OUT}.parms" --to text --script "${SCRIPT}")
compare("${STREAM}" "${OUT}.parms")
# Without the script the text has comments for the kinds, from which the same packets come.
convert("${OUT}.script.bparms" "${OUT}.marked.parms" --to text)
convert("${OUT}.marked.parms" "${OUT}.back.bparms" --to binary)
compare("${OUT}.script.bparms" "${OUT}.back.bparms")
convert("${SCRIPT}" "${OUT}.bparms" "${OUT}.front.bparms" --to binary)
compare("${OUT}.script.bparms" "${OUT}.front.bparms")
convert("${STREAM}" "${OUT}.compact" --to binary --compact --script "${SCRIPT}")
foreach(made bparms script.bparms compact)
    execute_process(COMMAND "${ZEL}" diff "${SCRIPT}" "${STREAM}" "${OUT}.${made}"
        WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${made} differs from ${STREAM}:\n${output}")
    endif()
endforeach()
