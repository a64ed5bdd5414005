# Tests of the runtime's windows and controls.
foreach(unit IN ITEMS DBControls DBGrid DBGridEditing Forms GridFind PropStorage WaitingNote)
    zelmor_test(NAME test_${unit} SOURCES test_${unit}.cpp LIBS zelmor_test_main zelmor_fake_server)
endforeach()
