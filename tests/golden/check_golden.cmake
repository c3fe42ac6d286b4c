# Runs a program and compares its standard output with a golden file, byte for byte.
#
#   cmake -DPROGRAM=... -DARGS="a;b" -DFOLDER=... -DGOLDEN=... [-DINPUT=FILE] [-DEXIT=1] [-DUPDATE=ON]
#         [-DMASK="line prefix"] -P check_golden.cmake
#
# MASK is for a line that differs from run to run: what follows the prefix is dropped on both sides.
# UPDATE rewrites the golden file instead: configure with -DZEL_UPDATE_GOLDEN=ON, run the tests with
# the label golden, look at the difference, and configure with OFF again. What differs is left beside
# the program as NAME.actual.
if(NOT INPUT)
    set(INPUT /dev/null)
endif()
if(NOT EXIT)
    set(EXIT 0)
endif()
execute_process(COMMAND "${PROGRAM}" ${ARGS} WORKING_DIRECTORY "${FOLDER}" INPUT_FILE "${INPUT}"
    OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL EXIT)
    message(FATAL_ERROR "${PROGRAM} ended with ${result}:\n${errors}")
endif()

if(MASK)
    string(REGEX REPLACE "(\n${MASK})[^\n]*" "\\1" output "${output}")
endif()

if(UPDATE)
    file(WRITE "${GOLDEN}" "${output}")
    message(STATUS "rewrote ${GOLDEN}")
    return()
endif()

if(NOT EXISTS "${GOLDEN}")
    message(FATAL_ERROR "There is no ${GOLDEN}; see the head of check_golden.cmake")
endif()
file(READ "${GOLDEN}" expected)
if(NOT output STREQUAL expected)
    cmake_path(GET GOLDEN FILENAME name)
    cmake_path(GET PROGRAM PARENT_PATH beside)
    set(actual "${beside}/${name}.actual")
    file(WRITE "${actual}" "${output}")
    execute_process(COMMAND diff -u "${GOLDEN}" "${actual}" OUTPUT_VARIABLE difference)
    message(FATAL_ERROR "The output differs from ${GOLDEN}:\n${difference}")
endif()
