# ZEL_WITH_PYTHON: CPython for menu scripts and expressions, through pybind11. The interpreter is the
# system's: one that comes first on PATH may lack the library to embed, or be removed later.
option(ZEL_WITH_PYTHON "Menu scripts and expressions in Python (needs CPython and pybind11)" ON)

if(ZEL_BUILD_FUZZ)
    # A fuzzer must not run what it makes up.
    set(ZEL_WITH_PYTHON OFF)
endif()

if(ZEL_WITH_PYTHON)
    if(NOT Python3_EXECUTABLE AND NOT Python3_ROOT_DIR AND EXISTS /usr/bin/python3)
        set(Python3_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "The interpreter to embed")
    endif()
    find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter Development.Embed)
    find_path(ZEL_PYBIND11_INCLUDE_DIR pybind11/pybind11.h REQUIRED)
    mark_as_advanced(ZEL_PYBIND11_INCLUDE_DIR)
endif()
