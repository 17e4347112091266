set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(GX_SANITIZE "" CACHE STRING "Sanitizers for everything that is built, such as address,undefined or thread")

add_compile_options(-Wall -Wextra -Werror -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual -Wno-missing-field-initializers)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A cast between function pointer types is what dlsym and the X error handlers are made of.
    add_compile_options(-Wno-cast-function-type)
endif()
# The library runs in programs of all kinds: overrun buffers end the program, and the tables of addresses that the
# loader fills in are read-only before any code of the library runs. A sanitizer has checks of its own.
add_compile_options(-fstack-protector-strong)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
if(NOT GX_SANITIZE)
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
endif()
if(GX_SANITIZE)
    add_compile_options(-fsanitize=${GX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=${GX_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Instrumented, the standard library looks to GCC 12 as if it read uninitialised members of <regex> and beyond the
        # ends of strings. The sanitizers tell better.
        add_compile_options(-Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overread)
    endif()
endif()
