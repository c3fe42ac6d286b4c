# Targets `format` (rewrites) and `check-format` (fails on a difference), both with clang-format 14:
# other versions lay some lines out differently.
find_program(ZEL_CLANG_FORMAT NAMES clang-format-14 clang-format)
mark_as_advanced(ZEL_CLANG_FORMAT)

if(ZEL_CLANG_FORMAT)
    file(GLOB_RECURSE zel_formatted CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
        "${PROJECT_SOURCE_DIR}/ZEL/*.h" "${PROJECT_SOURCE_DIR}/ZEL/*.cpp"
        "${PROJECT_SOURCE_DIR}/DS/*.h" "${PROJECT_SOURCE_DIR}/DS/*.cpp"
        "${PROJECT_SOURCE_DIR}/host/*.h" "${PROJECT_SOURCE_DIR}/host/*.cpp"
        "${PROJECT_SOURCE_DIR}/node/*.h" "${PROJECT_SOURCE_DIR}/node/*.cpp"
        "${PROJECT_SOURCE_DIR}/tests/*.h" "${PROJECT_SOURCE_DIR}/tests/*.cpp"
        "${PROJECT_SOURCE_DIR}/bench/*.h" "${PROJECT_SOURCE_DIR}/bench/*.cpp"
        "${PROJECT_SOURCE_DIR}/examples/*.h" "${PROJECT_SOURCE_DIR}/examples/*.cpp"
        "${PROJECT_SOURCE_DIR}/tools/*.h" "${PROJECT_SOURCE_DIR}/tools/*.cpp"
        "${PROJECT_SOURCE_DIR}/fuzz/*.h" "${PROJECT_SOURCE_DIR}/fuzz/*.cpp")
    if(zel_formatted)
        # One command line can't hold the whole tree for ever; a response file can.
        list(JOIN zel_formatted "\n" zel_format_list)
        file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/format-files.txt" CONTENT "${zel_format_list}\n")
        add_custom_target(format
            COMMAND "${ZEL_CLANG_FORMAT}" -i "--files=${PROJECT_BINARY_DIR}/format-files.txt"
            WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
        add_custom_target(check-format
            COMMAND "${ZEL_CLANG_FORMAT}" --dry-run --Werror
                    "--files=${PROJECT_BINARY_DIR}/format-files.txt"
            WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
    endif()
endif()
