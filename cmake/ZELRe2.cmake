# re2::re2, from its own CMake package where there is one, else from the header and the library: the
# packages of Debian 12 and Ubuntu 22.04 have none.
find_package(re2 CONFIG QUIET)
if(NOT TARGET re2::re2)
    find_path(ZEL_RE2_INCLUDE_DIR re2/re2.h REQUIRED)
    find_library(ZEL_RE2_LIBRARY re2 REQUIRED)
    mark_as_advanced(ZEL_RE2_INCLUDE_DIR ZEL_RE2_LIBRARY)
    add_library(re2::re2 UNKNOWN IMPORTED)
    set_target_properties(re2::re2 PROPERTIES
        IMPORTED_LOCATION "${ZEL_RE2_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${ZEL_RE2_INCLUDE_DIR}")
endif()
