# One mode for each test of tests/install/CMakeLists.txt; any failure is a FATAL_ERROR.
set(consumer "${ROOT}/tests/install/consumer")

# run(COMMAND...): the command must succeed.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT code EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${code}:\n${out}")
    endif()
endfunction()

# check_output(PROGRAM FILE): the program must print what consumer/FILE holds, and nothing else. It runs
# where there are no data files.
function(check_output program file)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${TREE}/${LIBDIR}"
            "ZEL_PATH=${WORK}/nowhere" "${program}"
        WORKING_DIRECTORY "${WORK}"
        RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
    file(READ "${consumer}/${file}" expected)
    if(NOT code EQUAL 0 OR NOT out STREQUAL expected OR NOT err STREQUAL "")
        message(FATAL_ERROR "ended with ${code}\nexpected:\n${expected}\ngot:\n${out}${err}")
    endif()
endfunction()

if(NOT MODE STREQUAL "front_page")
    file(REMOVE_RECURSE "${WORK}")
    file(MAKE_DIRECTORY "${WORK}")
endif()

if(MODE STREQUAL "tree")
    file(REMOVE_RECURSE "${TREE}")
    run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${TREE}")
    file(GLOB_RECURSE private_files "${TREE}/*Private.h" "${TREE}/*Private.def")
    if(private_files)
        message(FATAL_ERROR "private files were installed: ${private_files}")
    endif()
elseif(MODE STREQUAL "cmake_package")
    run("${CMAKE_COMMAND}" -S "${consumer}" -B "${WORK}" -G "${GENERATOR}"
        "-DCMAKE_PREFIX_PATH=${TREE}" "-DCMAKE_CXX_COMPILER=${CXX}")
    run("${CMAKE_COMMAND}" --build "${WORK}")
    check_output("${WORK}/xform" expected.txt)
    check_output("${WORK}/tables" expected_tables.txt)
    check_output("${WORK}/scene" expected_scene.txt)
elseif(MODE STREQUAL "pkg_config")
    find_program(pkg_config pkg-config REQUIRED)
    foreach(built IN ITEMS "zel xform expected.txt" "zelnode scene expected_scene.txt")
        separate_arguments(built)
        list(POP_FRONT built package program expected)
        execute_process(
            COMMAND "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${TREE}/${LIBDIR}/pkgconfig"
                "${pkg_config}" --cflags --libs ${package}
            OUTPUT_VARIABLE flags RESULT_VARIABLE code)
        if(NOT code EQUAL 0)
            message(FATAL_ERROR "pkg-config does not know ${package}")
        endif()
        separate_arguments(flags UNIX_COMMAND "${flags}")
        run("${CXX}" -std=c++17 "${consumer}/${program}.cpp" -o "${WORK}/${program}" ${flags})
        check_output("${WORK}/${program}" ${expected})
    endforeach()
elseif(MODE STREQUAL "front_page")
    # As lists would eat semicolons, the texts are compared as they are read.
    file(READ "${ROOT}/README.md" page)
    foreach(part IN ITEMS xform.cpp expected.txt)
        file(READ "${consumer}/${part}" text)
        string(FIND "${page}" "\n${text}```" position)
        if(position EQUAL -1)
            message(FATAL_ERROR "README.md does not hold ${part} word for word")
        endif()
    endforeach()
else()
    message(FATAL_ERROR "no such mode: ${MODE}")
endif()
