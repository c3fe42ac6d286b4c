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

# Arranging them, and some of the parameters.
call(preset save ${node} Day examples/light.ds)
call(preset save ${node} Day examples/light.ds)
call(preset save ${node} Day examples/light.ds --set light_intensity=4 --force)
call(preset copy ${node} Night Dusk)
call(preset copy ${node} Dusk Day)
call(preset rename ${node} Dusk Dawn)
call(preset rename ${node} Dawn Day)
call(preset rename ${node} Dawn Day --force --json)
call(preset rename ${node} Noon Day)
call(preset rename ${node} Day Noon --dir "${OUT}/third")
call(preset save ${node} Some examples/light.ds --set light_intensity=5 --only "light_*y" --only coneangle)
call(preset show ${node} Some)
call(preset apply ${node} Night examples/light.ds --only light_intensity --set light_color=0.5
     --set light_intensity=7 --json)
call(preset apply ${node} Night examples/light.ds --only wibble)
call(preset apply ${node} Night examples/light.ds --key light_intensity@1=2 -o "${OUT}/stream")
call(preset apply ${node} Night examples/light.ds --key light_intensity@1=2 -o "${OUT}/node" --as node)
call(preset apply ${node} Night examples/light.ds -o /dev/full)
call(preset list)
call(preset list Node --json)
call(preset list Nowhere)
foreach(path ":" "${OUT}/none:${OUT}/input")
    set(ENV{ZEL_PATH} "${path}")
    call(preset save ${node} Day examples/light.ds)
endforeach()
set(ENV{VELMORA_ROOT} "${OUT}/first")
set(ENV{ZEL_PATH} "${OUT}/first")
call(preset save ${node} Day examples/light.ds)
unset(ENV{VELMORA_ROOT})
set(ENV{ZEL_PATH} "${OUT}/first:${OUT}/second")
file(WRITE "${OUT}/first/presets/Node/light.idx" "cut")
call(preset list ${node})
call(preset save ${node} Day examples/light.ds)

set(input "preset list\npreset save Seven\nsave text -\nset light_intensity 7\npreset save Seven ${OUT}/second\n\
preset save Seven ${OUT}/second\npreset replace Seven ${OUT}/second\n\
set light_intensity 1\npreset load Seven\nraw light_intensity\nundo\nraw light_intensity\npreset list\n\
preset delete Seven ${OUT}/first\npreset delete Seven\npreset list\npreset load Seven\npreset delete Seven\n\
preset save Seven nowhere\npreset wibble\npreset load\npreset save a b c\nmessages\n")
call(shell -k examples/light.ds)

if(UPDATE)
    file(WRITE "${GOLDEN}" "${transcript}")
    return()
endif()
file(READ "${GOLDEN}" expected)
if(NOT transcript STREQUAL expected)
    message(FATAL_ERROR "not as in ${GOLDEN}:\n${transcript}")
endif()
