# The message protocol alone; Qt Gui only for the headers of the page types.
find_package(Qt6 6.4 REQUIRED COMPONENTS Gui)
set(FUZZ_SOURCES ${FAXOLINO_SRC}/document/FXPageMessages.cpp)
set(FUZZ_LIBRARIES Qt6::Gui)
