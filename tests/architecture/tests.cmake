# The layering: every include against src/layers.txt, and the checker itself against a small
# tree that breaks the rules.
get_target_property(widgets_includes Qt6::Widgets INTERFACE_INCLUDE_DIRECTORIES)
list(FILTER widgets_includes INCLUDE REGEX "QtWidgets$")
add_test(NAME tst_layers
  COMMAND python3 ${CMAKE_CURRENT_LIST_DIR}/check-layers.py ${PROJECT_SOURCE_DIR}
          --widgets "${widgets_includes}")
add_test(NAME tst_layers_violation
  COMMAND python3 ${CMAKE_CURRENT_LIST_DIR}/check-layers.py ${CMAKE_CURRENT_LIST_DIR}/violation
          --widgets "${widgets_includes}")
set_tests_properties(tst_layers_violation PROPERTIES
  PASS_REGULAR_EXPRESSION "3 layers checked, 2 forbidden includes")
