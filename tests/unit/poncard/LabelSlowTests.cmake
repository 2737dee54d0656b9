# The shared socket takes a second until it is bound, and these tests wait for it; `ctest -LE slow`
# leaves them out.
foreach(test IN LISTS unit_poncard_task_TESTS)
    if(test MATCHES "RealSeconds")
        set_tests_properties(${test} PROPERTIES LABELS slow)
    endif()
endforeach()
