# Draws a ramp of examples/ramps.ds and compares with its picture in docs/images, which -DUPDATE=ON
# replaces.
#
#   cmake -DZEL=... -DTOKEN=... -DFOLDER=... -DOUT=FILE -DUPDATE=... -P check_picture.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${ZEL}" ramp examples/ramps.ds "${TOKEN}" --svg "${OUT}"
    WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT "${output}${errors}" STREQUAL "")
    message(FATAL_ERROR "exit ${result}\n${output}${errors}")
endif()
set(picture "${FOLDER}/docs/images/ramp_${TOKEN}.svg")
if(UPDATE)
    configure_file("${OUT}" "${picture}" COPYONLY)
endif()
execute_process(COMMAND diff -u "${picture}" "${OUT}"
    OUTPUT_VARIABLE difference RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "The picture has changed:\n${difference}")
endif()
