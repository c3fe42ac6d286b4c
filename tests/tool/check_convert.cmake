# Converts a text stream to binary and back and compares with the input.
#
#   cmake -DZEL=... -DSCRIPT=... -DSTREAM=... -DFOLDER=... -DOUT=PREFIX -P check_convert.cmake
cmake_minimum_required(VERSION 3.25)

function(convert from to form)
    execute_process(COMMAND "${ZEL}" convert "${SCRIPT}" "${from}" "${to}" --to ${form}
        WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output ERROR_VARIABLE errors
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR NOT "${output}${errors}" STREQUAL "")
        message(FATAL_ERROR "${from} to ${form}: exit ${result}\n${output}${errors}")
    endif()
endfunction()

# The first text has the entries that the script has now.
convert("${STREAM}" "${OUT}.parms" text)
convert("${OUT}.parms" "${OUT}.bparms" binary)
convert("${OUT}.bparms" "${OUT}.back.parms" text)
execute_process(COMMAND diff -u "${OUT}.parms" "${OUT}.back.parms"
    OUTPUT_VARIABLE difference RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "What comes back differs:\n${difference}")
endif()
execute_process(COMMAND "${ZEL}" diff "${SCRIPT}" "${STREAM}" "${OUT}.bparms"
    WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "The binary stream differs from ${STREAM}:\n${output}")
endif()
