# Checks the pages that `zel doc` writes of SCRIPTS against tests/golden/doc, file for file; that a page of the
# name of another one, an unreadable script and a folder that is none are errors with the other pages written.
#
#   cmake -DZEL=... "-DSCRIPTS=a;b" -DFOLDER=... -DOUT=FOLDER -DUPDATE=... -P check_doc.cmake
cmake_minimum_required(VERSION 3.25)

set(golden "${FOLDER}/tests/golden/doc")

# document(EXIT TEXT ARG...): runs the command; standard error has the text.
function(document exit text)
    execute_process(COMMAND "${ZEL}" doc ${ARGN} WORKING_DIRECTORY "${FOLDER}" OUTPUT_VARIABLE output
        ERROR_VARIABLE errors RESULT_VARIABLE result)
    string(FIND "${errors}" "${text}" place)
    if(NOT result EQUAL exit OR place EQUAL -1)
        message(FATAL_ERROR "zel doc ${ARGN}: ${result}, not ${exit} with '${text}':\n${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${OUT}")
document(0 "" ${SCRIPTS} -o "${OUT}")
file(GLOB pages RELATIVE "${OUT}" "${OUT}/*")
foreach(page IN LISTS pages)
    string(FIND "${output}" "${OUT}/${page}\n" place)
    if(place EQUAL -1)
        message(SEND_ERROR "${page} isn't told:\n${output}")
    endif()
endforeach()
if(UPDATE)
    file(REMOVE_RECURSE "${golden}")
    file(COPY "${OUT}/" DESTINATION "${golden}")
endif()
file(GLOB expected RELATIVE "${golden}" "${golden}/*")
if(NOT pages STREQUAL expected)
    message(FATAL_ERROR "The pages are ${pages}, expected ${expected}")
endif()
foreach(page IN LISTS pages)
    execute_process(COMMAND diff -u "${golden}/${page}" "${OUT}/${page}" OUTPUT_VARIABLE difference
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(SEND_ERROR "${difference}")
    endif()
endforeach()

list(GET SCRIPTS 0 first)
document(1 "${first}: has the pages of ${first}" ${first} ${first} -o "${OUT}")
file(REMOVE "${OUT}/camera.md")
document(1 "nowhere.ds: can't be read" nowhere.ds examples/camera.ds -o "${OUT}")
if(NOT EXISTS "${OUT}/camera.md")
    message(SEND_ERROR "a script that can't be read keeps others from their pages")
endif()
document(1 "can't be made" ${first} -o "${OUT}/camera.md")
document(1 "can't be made" ${first} -o /dev/full)
file(MAKE_DIRECTORY "${OUT}/full")
file(CREATE_LINK /dev/full "${OUT}/full/camera.md" SYMBOLIC)
document(1 "camera.md: can't be written" examples/camera.ds -o "${OUT}/full")
