# parseArguments shares its object file with the instance itself, which brings its D-Bus
# service, spool watcher and headless target along: Qt DBus, no Widgets. They need moc, so
# they form a library of their own.
find_package(Qt6 6.4 REQUIRED COMPONENTS DBus)
add_library(fuzz_instance_app STATIC
  ${FAXOLINO_SRC}/app/FBApplicationInstance.cpp
  ${FAXOLINO_SRC}/app/FBFaxCommand.cpp
  ${FAXOLINO_SRC}/app/FBFaxService.cpp
  ${FAXOLINO_SRC}/app/FBHeadlessDocumentTarget.cpp
  ${FAXOLINO_SRC}/app/FBSpoolWatcher.cpp
  ${FAXOLINO_SRC}/foundation/FBRegularFile.cpp)
set_target_properties(fuzz_instance_app PROPERTIES AUTOMOC ON)
# The fuzzer never starts a spool watcher; the root only has to be there for the build.
target_compile_definitions(fuzz_instance_app PRIVATE FAXOLINO_SPOOL_ROOT="/var/spool/faxolino")
target_compile_options(fuzz_instance_app PRIVATE ${FUZZ_COMPILE_FLAGS})
target_link_libraries(fuzz_instance_app PUBLIC fuzz_codec Qt6::DBus)
set(FUZZ_LIBRARIES fuzz_instance_app)
