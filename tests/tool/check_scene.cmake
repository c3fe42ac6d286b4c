# Writes SCENE in the binary form and that as text, which are the bytes of SCENE.
#
#   cmake -DZEL=... -DFOLDER=... -DSCENE=FILE -DOUT=PREFIX -P check_scene.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE "${OUT}.bscene" "${OUT}.scene")
foreach(call "${SCENE};--convert;${OUT}.bscene;--binary" "${OUT}.bscene;--convert;${OUT}.scene")
    execute_process(COMMAND "${ZEL}" scene ${call} WORKING_DIRECTORY "${FOLDER}"
        RESULT_VARIABLE result ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "zel scene ${call}: ${result}\n${errors}")
    endif()
endforeach()
file(READ "${OUT}.bscene" start LIMIT 4 HEX)
if(NOT start STREQUAL "894e4f44")
    message(FATAL_ERROR "${OUT}.bscene isn't binary")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${FOLDER}/${SCENE}" "${OUT}.scene"
    RESULT_VARIABLE differs)
if(differs)
    message(FATAL_ERROR "${OUT}.scene differs from ${SCENE}")
endif()
