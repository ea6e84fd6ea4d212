# Hostile documents must each be dealt with quickly: QtTest's watchdog fails any row that
# hangs. The limit leaves room for sanitizer builds on a busy machine; rows take milliseconds.
set_property(TEST tst_xmlrpchostile APPEND PROPERTY ENVIRONMENT "QTEST_FUNCTION_TIMEOUT=5000")
