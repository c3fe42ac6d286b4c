# Runs a program with a call or a malformed input, and checks its exit code, that standard
# output stays empty, and that standard error holds a text.
#
#   cmake -DPROGRAM=... -DARGS="a;b" -DFOLDER=... -DEXIT=1 -DTEXT=... -P check_faults.cmake
execute_process(COMMAND "${PROGRAM}" ${ARGS} WORKING_DIRECTORY "${FOLDER}"
    INPUT_FILE /dev/null OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL EXIT)
    message(FATAL_ERROR "Exit ${result}, expected ${EXIT}:\n${errors}")
endif()
if(NOT output STREQUAL "")
    message(FATAL_ERROR "Something on standard output:\n${output}")
endif()
string(FIND "${errors}" "${TEXT}" place)
if(place EQUAL -1)
    message(FATAL_ERROR "'${TEXT}' isn't in:\n${errors}")
endif()
