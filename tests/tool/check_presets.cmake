# Presets from outside: calls of ZEL in a search path of its own, one after the other, and a shell.
# What they print, with the folder's name left out, is GOLDEN. With UPDATE it is written instead.
file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}/first" "${OUT}/second")
set(ENV{ZEL_PATH} "${OUT}/first:${OUT}/second")
set(transcript "")

# call(ARG...): with the lines of `input`, if there are any.
function(call)
    file(WRITE "${OUT}/input" "${input}")
    execute_process(COMMAND "${ZEL}" ${ARGN} WORKING_DIRECTORY "${FOLDER}" INPUT_FILE "${OUT}/input"
        OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE result)
    list(JOIN ARGN " " line)
    string(REPLACE "${OUT}/" "FOLDER/" text "$ zel ${line}\n${out}${err}")
    set(transcript "${transcript}${text}exit ${result}\n" PARENT_SCOPE)
endfunction()

set(node Node light)
call(preset list ${node})
call(preset save ${node} Day examples/light.ds)
call(preset save ${node} Night examples/light.ds --values examples/light_night.parms
     --dir "${OUT}/second")
call(preset save ${node} Day examples/light.ds --set light_intensity=3 --dir "${OUT}/second" --json)
call(preset list ${node})
call(preset list ${node} --json)
call(preset show ${node} Night)
call(preset apply ${node} Night examples/light.ds)
call(preset apply ${node} Dusk examples/light.ds)
call(preset save ${node} Day examples/light.ds --dir "${OUT}/")
call(preset delete ${node} Day)
call(preset list ${node})
call(preset delete ${node} Dusk)
file(WRITE "${OUT}/first/presets/Node/light.idx" "cut")
call(preset list ${node})
call(preset save ${node} Day examples/light.ds)

set(input "preset list\npreset save Seven\nsave text -\nset light_intensity 7\npreset save Seven ${OUT}/second\n\
set light_intensity 1\npreset load Seven\nraw light_intensity\nundo\nraw light_intensity\npreset list\n\
preset delete Seven ${OUT}/first\npreset delete Seven\npreset list\npreset load Seven\npreset delete Seven\n\
preset save Seven nowhere\npreset wibble\npreset load\npreset save a b c\nmessages\n")
call(shell examples/light.ds)

if(UPDATE)
    file(WRITE "${GOLDEN}" "${transcript}")
    return()
endif()
file(READ "${GOLDEN}" expected)
if(NOT transcript STREQUAL expected)
    message(FATAL_ERROR "not as in ${GOLDEN}:\n${transcript}")
endif()
