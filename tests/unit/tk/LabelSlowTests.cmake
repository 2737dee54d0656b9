# Tests that wait for the product's own seconds say so in their name; `ctest -LE slow` leaves them out.
foreach(test IN LISTS unit_tk_TESTS unit_tk_sockets_TESTS)
    if(test MATCHES "RealSeconds")
        set_tests_properties(${test} PROPERTIES LABELS slow)
    endif()
endforeach()
