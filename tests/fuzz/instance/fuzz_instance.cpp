// Feeds arbitrary bytes to what a Faxolino instance takes from outside. The input's fields,
// split at NUL, are once an argument list (as `faxolino ARGS...` would hand it over) and once
// a scripting command: code, name, direct parameter, then named arguments as key and typed
// value. The command acts on a target that records what reaches it.

#include "app/FBApplicationInstance.h"
#include "app/FBFaxCommand.h"
#include "app/FBFaxDocumentTarget.h"

#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QDir>
#include <QLoggingCategory>
#include <QUrl>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

[[noreturn]] void fail(const char *what, const QString &detail)
{
    std::fprintf(stderr, "%s: %s\n", what, qUtf8Printable(detail));
    std::abort();
}

class RecordingTarget : public FBFaxDocumentTarget
{
public:
    void newFaxForFile(const QString &path, const QString &toNumber) override
    {
        ++files;
        this->path = path;
        number = toNumber;
    }
    void newFaxToNumber(const QString &toNumber) override
    {
        ++numbers;
        number = toNumber;
    }
    bool openFile(const QString &) override
    {
        ++opened;
        return true;
    }

    int files = 0;
    int numbers = 0;
    int opened = 0;
    QString path;
    QString number;
};

// A named argument's value as the bus may deliver it, chosen by its first character.
QVariant typedValue(const QByteArray &field)
{
    const QByteArray payload = field.mid(1);
    const QString text = QString::fromUtf8(payload);
    switch (field.isEmpty() ? 's' : field.at(0)) {
    case 'i':
        return payload.toLongLong();
    case 'u':
        return payload.toUInt();
    case 'd':
        return payload.toDouble();
    case 'b':
        return payload == "true";
    case 'y':
        return payload;
    case 'a':
        return text.split(u',');
    case 'l':
        return QVariantList{text, payload.toInt()};
    case 'm':
        return QVariantMap{{text, text}};
    case 'o':
        return QVariant::fromValue(QDBusObjectPath(text));
    case 'g':
        return QVariant::fromValue(QDBusSignature(text));
    case 'v':
        return QVariant::fromValue(QDBusVariant(text));
    case 'r':
        return QUrl(text);
    case 'n':
        return QVariant();
    default:
        return text;
    }
}

void checkArguments(const QList<QByteArray> &fields)
{
    std::vector<QByteArray> storage(fields.cbegin(), fields.cend());
    std::vector<char *> argv{const_cast<char *>("faxolino")};
    for (QByteArray &field : storage)
        argv.push_back(field.data());
    argv.push_back(nullptr);
    (void)FBApplicationInstance::isInstanceRequest(int(argv.size() - 1), argv.data());

    QStringList arguments;
    for (const QByteArray &field : fields)
        arguments.append(QString::fromLocal8Bit(field));
    QString error;
    const auto request = FBApplicationInstance::parseArguments(arguments, &error);
    if (!request) {
        if (error.isEmpty())
            fail("refused without a reason", arguments.join(u' '));
        return;
    }
    // The running instance has another working folder.
    if (request->namesFile() && (request->path.isEmpty() || !QDir::isAbsolutePath(request->path)))
        fail("a file request without an absolute path", request->path);
    if (!request->namesFile() && !request->path.isEmpty())
        fail("a request without a file that names one", request->path);
    if (request->needsWindow() && !request->number.isEmpty())
        fail("a window request with a number", request->number);
    if (request->kind == FBApplicationInstance::Request::OpenFile && !request->number.isEmpty())
        fail("an open request with a number", request->number);
}

void checkCommand(const QList<QByteArray> &fields)
{
    auto field = [&](qsizetype i) { return QString::fromUtf8(fields.value(i)); };
    QVariantMap arguments;
    for (qsizetype i = 3; i + 1 < fields.size(); i += 2)
        arguments.insert(field(i), typedValue(fields.at(i + 1)));
    const QString code = field(0);
    const QString direct = field(2);
    FBFaxCommand command(code, field(1), direct, arguments);

    const QVariantMap evaluated = command.evaluatedArguments();
    if (evaluated.keys() != arguments.keys())
        fail("evaluation changed the argument names", code);
    for (const QVariant &value : evaluated) {
        if (value.typeId() != QMetaType::QString)
            fail("an evaluated argument that is no text", QString::fromLatin1(value.typeName()));
    }

    RecordingTarget target;
    command.setTarget(&target);
    command.performDefaultImplementation();
    if (target.opened != 0)
        fail("a command opened a file", code);
    if (code == QLatin1String(kDialCommandCode)) {
        if (target.files != 0 || target.numbers != 1 || target.number != direct)
            fail("dial did not become one new fax to its number", direct);
    } else if (code == QLatin1String(kFaxDocumentCommandCode)
               || code == QLatin1String(kFaxDocumentToNumberCommandCode)) {
        if (target.numbers != 0 || target.files != 1 || target.path != direct)
            fail("a document command did not become one new fax of its file", direct);
        const QVariant number = arguments.value(QLatin1String(kNumberArgumentKey));
        if ((number.typeId() == QMetaType::QString || !number.isValid())
            && target.number != number.toString())
            fail("the document's number was not the one given", target.number);
    } else if (target.files != 0 || target.numbers != 0) {
        fail("an unknown command reached the target", code);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Unknown commands are logged, and Qt warns of invalid D-Bus paths and signatures.
    QLoggingCategory::setFilterRules(QStringLiteral("faxolino.*=false"));
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QList<QByteArray> fields =
        QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)).split('\0');
    checkArguments(fields);
    checkCommand(fields);
    return 0;
}
