# Warnings, sanitizers and coverage: one interface target that every target of ours links.
set(PONMGR_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, 'address,undefined' or 'thread'")
option(PONMGR_FUZZ "Build everything for the fuzzers, with clang" OFF)
option(PONMGR_COVERAGE "Build for gcov" OFF)

add_library(ponmgr_options INTERFACE)
target_compile_options(ponmgr_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wformat-nonliteral -Werror)

# What is shipped is hardened. Fortified functions need optimisation, which quickly compiled tests lack.
if(NOT PONMGR_SANITIZE)
    set(optimised "$<AND:$<NOT:$<CONFIG:Debug>>,$<NOT:$<BOOL:$<TARGET_PROPERTY:PONMGR_QUICK>>>>")
    target_compile_options(ponmgr_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
        "$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(ponmgr_options INTERFACE
        -Wl,-z,relro,-z,now,-z,noexecstack $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()

if(PONMGR_SANITIZE)
    set(sanitizer_options -fsanitize=${PONMGR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_compile_options(ponmgr_options INTERFACE ${sanitizer_options})
    target_link_options(ponmgr_options INTERFACE ${sanitizer_options})
    # gcc's flow analysis sees through the sanitizers' own calls and warns about code that is not there.
    target_compile_options(ponmgr_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

if(PONMGR_FUZZ)
    target_compile_options(ponmgr_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(PONMGR_COVERAGE)
    target_compile_options(ponmgr_options INTERFACE --coverage)
    target_link_options(ponmgr_options INTERFACE --coverage)
endif()
