# Warnings, sanitizers and coverage: one interface target that every target of ours links.
set(PONMGR_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, 'address,undefined' or 'thread'")
option(PONMGR_FUZZ "Build everything for the fuzzers, with clang" OFF)
option(PONMGR_COVERAGE "Build for gcov" OFF)

add_library(ponmgr_options INTERFACE)
target_compile_options(ponmgr_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

if(PONMGR_SANITIZE)
    set(sanitizer_options -fsanitize=${PONMGR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_compile_options(ponmgr_options INTERFACE ${sanitizer_options})
    target_link_options(ponmgr_options INTERFACE ${sanitizer_options})
    # gcc's flow analysis sees through the sanitizers' own calls and warns about code that is not there.
    target_compile_options(ponmgr_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    # clang looks at an object's type through a pipe, and reports an error where tests leave it none.
    target_compile_options(ponmgr_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=vptr>)
endif()

if(PONMGR_FUZZ)
    target_compile_options(ponmgr_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(PONMGR_COVERAGE)
    target_compile_options(ponmgr_options INTERFACE --coverage)
    target_link_options(ponmgr_options INTERFACE --coverage)
endif()
