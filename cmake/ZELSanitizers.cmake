# ZEL_SANITIZE and ZEL_BUILD_FUZZ instrument every target, libraries included. Sanitized builds
# keep assertions (no NDEBUG), optimise lightly and carry line tables only, so that they build fast.
set(zel_sanitize_flags "")
if(ZEL_SANITIZE STREQUAL "address")
    list(APPEND zel_sanitize_flags -fsanitize=address,undefined -fno-sanitize-recover=all)
elseif(ZEL_SANITIZE STREQUAL "thread")
    list(APPEND zel_sanitize_flags -fsanitize=thread)
elseif(ZEL_SANITIZE)
    message(FATAL_ERROR "ZEL_SANITIZE is '${ZEL_SANITIZE}'; it takes address, thread or nothing")
endif()

if(ZEL_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "ZEL_BUILD_FUZZ needs Clang (the preset 'fuzz' chooses it)")
    endif()
    list(APPEND zel_sanitize_flags -fsanitize=fuzzer-no-link)
endif()

if(zel_sanitize_flags)
    set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
    add_compile_options(${zel_sanitize_flags} -fno-omit-frame-pointer)
    add_link_options(${zel_sanitize_flags})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Instrumentation confuses GCC's flow analysis: these two report code that is never reached.
        add_compile_options(-Wno-maybe-uninitialized -Wno-stringop-overflow)
        if(ZEL_SANITIZE STREQUAL "address")
            # A third of the time to compile: the address sanitizer finds what is read through a null pointer, and
            # Clang's build of the fuzz targets has both checks.
            add_compile_options(-fno-sanitize=null,alignment)
        endif()
    endif()
endif()
