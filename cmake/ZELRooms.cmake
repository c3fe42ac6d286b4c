# Libraries are built of rooms (folders), and rooms are on floors: a room includes what is on its own
# floor or below. tests/floors checks the #include lines against what is said here.
#
#   zel_library(TARGET ALIAS)   the set-up that our shared libraries have in common
#   zel_floor(TARGET ROOM...)   the next floor up, with the folders of its rooms; KNOT before the rooms
#                               says that their sources may include each other's headers, while the
#                               headers keep to the order of the rooms
#   zel_room(NAME SOURCES FILE... [NOT_BUILT FILE...] [HEADERS FILE...] [USES ROOM...])
#                               in the room's own CMakeLists.txt: its sources (and those that another
#                               option would build), those of its headers that lie one folder up among
#                               the public ones, and every room of the library that it includes
#   zel_write_room_map(FILE)    all of it, a line each, for the check

function(zel_library target alias)
    add_library(${target} SHARED)
    add_library(${alias} ALIAS ${target})
    set_target_properties(${target} PROPERTIES
        INSTALL_RPATH "$ORIGIN"
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    zel_set_warnings(${target})
    target_compile_options(${target} PRIVATE -fno-plt -fno-semantic-interposition)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_property(GLOBAL APPEND PROPERTY ZEL_ROOM_MAP "library ${target}")
endfunction()

function(zel_floor target)
    set(kind floor)
    if("${ARGV1}" STREQUAL "KNOT")
        set(kind knot)
        list(POP_FRONT ARGN)
    endif()
    set_property(GLOBAL APPEND PROPERTY ZEL_ROOM_MAP "${kind}")
    set(ZEL_ROOM_TARGET ${target})
    foreach(room IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH room NORMALIZE OUTPUT_VARIABLE folder)
        cmake_path(RELATIVE_PATH folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}" OUTPUT_VARIABLE place)
        add_subdirectory("${folder}" "${PROJECT_BINARY_DIR}/${place}")
    endforeach()
endfunction()

function(zel_room name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;NOT_BUILT;HEADERS;USES")
    if(DEFINED arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "zel_room(${name}): what is ${arg_UNPARSED_ARGUMENTS}?")
    endif()
    list(TRANSFORM arg_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/" OUTPUT_VARIABLE sources)
    target_sources(${ZEL_ROOM_TARGET} PRIVATE ${sources})

    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}"
        OUTPUT_VARIABLE place)
    cmake_path(GET place PARENT_PATH above)
    set(lines "room ${name} ${place}")
    foreach(file IN LISTS arg_SOURCES arg_NOT_BUILT)
        list(APPEND lines "source ${place}/${file}")
    endforeach()
    foreach(file IN LISTS arg_HEADERS)
        list(APPEND lines "header ${above}/${file}")
    endforeach()
    foreach(room IN LISTS arg_USES)
        list(APPEND lines "uses ${room}")
    endforeach()
    set_property(GLOBAL APPEND PROPERTY ZEL_ROOM_MAP ${lines})
endfunction()

function(zel_write_room_map file)
    get_property(lines GLOBAL PROPERTY ZEL_ROOM_MAP)
    list(JOIN lines "\n" text)
    file(CONFIGURE OUTPUT "${file}" CONTENT "${text}\n" @ONLY)
endfunction()
