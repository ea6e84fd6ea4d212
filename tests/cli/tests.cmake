# The command tests run the faxolino binary itself.
add_dependencies(tst_preparecommand faxolino)

# The sending commands run the faxolino binary against the provider simulator.
foreach(test tst_sendcommand tst_accountcommand)
  add_dependencies(${test} faxolino)
endforeach()
set_tests_properties(tst_sendcommand PROPERTIES TIMEOUT 900)
