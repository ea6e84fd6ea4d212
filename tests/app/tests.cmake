# The command tests run the faxolino binary itself.
add_dependencies(tst_preparecommand faxolino)
