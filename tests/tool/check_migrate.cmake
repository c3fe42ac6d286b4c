# `zel migrate` writes each kind of file as the kind that it was, unless another is asked for, and nothing at all
# where a value would be lost.
#
#   cmake -DZEL=... -DFOLDER=... -DOUT=FOLDER -P check_migrate.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}")
set(scripts examples/migration/emitter_v1.ds examples/migration/emitter.ds)

# migrate(EXIT START INPUT NAME ARG...): OUT/NAME begins with these bytes; "" for no such file.
function(migrate exit start input name)
    execute_process(COMMAND "${ZEL}" migrate ${scripts} ${ARGN} "${input}" -o "${OUT}/${name}"
        --rename birthrate=rate WORKING_DIRECTORY "${FOLDER}" RESULT_VARIABLE result
        OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL exit)
        message(SEND_ERROR "${input} to ${name}: ${result}\n${output}${errors}")
    endif()
    set(found "")
    if(EXISTS "${OUT}/${name}")
        string(LENGTH "${start}" length)
        file(READ "${OUT}/${name}" found LIMIT ${length} HEX)
    endif()
    string(HEX "${start}" hex)
    if(NOT found STREQUAL hex)
        message(SEND_ERROR "${name} doesn't begin with '${start}': ${found}")
    endif()
    set(errors "${errors}" PARENT_SCOPE)
endfunction()

set(stream examples/migration/emitter_v1.parms)
migrate(1 "" "${stream}" none)
if(NOT errors MATCHES "not all of it is carried; written with --allow-loss only")
    message(SEND_ERROR "nothing says why nothing is written:\n${errors}")
endif()
migrate(0 "{\nversion" "${stream}" text --allow-loss)
migrate(0 "channels 1.0" "${stream}" channels --allow-loss --as channels)
migrate(0 "#STO_INDEX" "${stream}" node --allow-loss --as node)
file(WRITE "${OUT}/preset_v1" "#PSI_PRESET\nversion 2.0a\nvalues\n")
file(READ "${FOLDER}/${stream}" values)
file(APPEND "${OUT}/preset_v1" "${values}")
migrate(0 "#PSI_PRESET" "${OUT}/preset_v1" preset --allow-loss)
set(scripts examples/migration/emitter.ds examples/migration/emitter.ds)
migrate(1 "" "${OUT}/node" none) # there is no birthrate any more
file(READ "${OUT}/text" first)
execute_process(COMMAND "${ZEL}" migrate ${scripts} - -o "${OUT}/again" INPUT_FILE "${OUT}/text"
    WORKING_DIRECTORY "${FOLDER}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(READ "${OUT}/again" again)
if(NOT again STREQUAL first)
    message(SEND_ERROR "the same script changes what is written:\n${again}")
endif()
execute_process(COMMAND "${ZEL}" migrate ${scripts} "${OUT}/node" -o "${OUT}/node_again"
    WORKING_DIRECTORY "${FOLDER}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(READ "${OUT}/node" first)
file(READ "${OUT}/node_again" again)
if(NOT again STREQUAL first)
    message(SEND_ERROR "the same script changes the node file:\n${again}")
endif()
