# Warnings for our own targets, as errors. Programs that only use the library (tests, benchmarks,
# examples) pass NO_CONVERSION: there, mixed arithmetic with literals is not worth a cast.
#
#   zel_set_warnings(TARGET [NO_CONVERSION])
function(zel_set_warnings target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "NO_CONVERSION" "" "")
    set(flags -Wall -Wextra -Wshadow -Wformat=2 -Wimplicit-fallthrough -Wvla -Werror)
    if(NOT arg_NO_CONVERSION)
        list(APPEND flags -Wconversion)
        if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            # Clang counts signedness among -Wconversion, GCC does not; keep to one meaning.
            list(APPEND flags -Wno-sign-conversion)
        endif()
    endif()
    target_compile_options(${target} PRIVATE ${flags})
endfunction()
