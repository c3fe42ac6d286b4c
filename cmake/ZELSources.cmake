# What the folders' source lists share.

# zel_public_headers(OUT)
#   Every installed header, as it is included: BAS/BAS_API.h, ZEL/ZEL_Type.h. Headers named
#   *Private.h stay with the sources.
function(zel_public_headers out)
    file(GLOB host CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/host"
        "${PROJECT_SOURCE_DIR}/host/*/*.h")
    file(GLOB library CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
        "${PROJECT_SOURCE_DIR}/ZEL/*.h" "${PROJECT_SOURCE_DIR}/DS/*.h")
    set(headers ${host} ${library})
    list(FILTER headers EXCLUDE REGEX "Private\\.h$")
    set(${out} "${headers}" PARENT_SCOPE)
endfunction()
