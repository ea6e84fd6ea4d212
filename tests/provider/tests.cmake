# The transfer tests stream answers of tens of megabytes and more over loopback; on a loaded
# machine that takes minutes.
set_tests_properties(tst_vxtransfer PROPERTIES TIMEOUT 600)
