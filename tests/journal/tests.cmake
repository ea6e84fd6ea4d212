# The durability test's child process: it makes journal changes until the test kills it.
add_executable(journal_durability_child ${CMAKE_CURRENT_LIST_DIR}/journal_durability_child.cpp)
target_link_libraries(journal_durability_child PRIVATE faxolino_core)
faxolino_apply_build_flags(journal_durability_child)
add_dependencies(tst_journaldurability journal_durability_child)
set_tests_properties(tst_journaldurability PROPERTIES TIMEOUT 120)
