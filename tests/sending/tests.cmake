# Every receiver's pages are prepared anew; under the sanitizers that takes a while.
set_tests_properties(tst_fxfaxconnection PROPERTIES TIMEOUT 900)
