# What the folders' source lists share.

# zel_public_files(OUT SUFFIX)
#   Every installed file of a suffix, as it is included: BAS/BAS_API.h, ZEL/ZEL_Type.h. Files named
#   *Private, and those in the library's rooms, stay with the sources.
function(zel_public_files out suffix)
    file(GLOB host CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/host"
        "${PROJECT_SOURCE_DIR}/host/*/*.${suffix}")
    file(GLOB library CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
        "${PROJECT_SOURCE_DIR}/ZEL/*.${suffix}" "${PROJECT_SOURCE_DIR}/DS/*.${suffix}")
    file(GLOB node CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/node"
        "${PROJECT_SOURCE_DIR}/node/NOD/*.${suffix}")
    set(files ${host} ${library} ${node})
    list(FILTER files EXCLUDE REGEX "Private\\.${suffix}$")
    set(${out} "${files}" PARENT_SCOPE)
endfunction()
