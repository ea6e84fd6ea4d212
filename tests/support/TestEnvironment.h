#pragma once

#include <QByteArray>
#include <QString>

// Paths of the source tree and build, and the isolation the test runner provides.
namespace TestEnvironment {

QString sourceDir();
QString dataDir();
QString binDir();
// The test's private root folder (temporary HOME and XDG folders live below it).
QString root();
// Fails (QFAIL-style, returns false) when the test is not running inside isolated-run, so
// that no test ever writes into a real user's folders.
bool isIsolated();
// A file's bytes, or none when it cannot be read.
QByteArray readFile(const QString &path);
// Locks the test's login keyring; it stays locked for the rest of the run (unlocking would
// need gnome-keyring's private interface), so a test that needs this runs last.
bool lockKeyring();

} // namespace TestEnvironment
