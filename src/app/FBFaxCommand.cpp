#include "app/FBFaxCommand.h"

#include "app/FBFaxDocumentTarget.h"
#include "foundation/FXLogging.h"

FBFaxCommand::FBFaxCommand(const QString &commandCode, const QString &commandName,
                           const QString &directParameter, const QVariantMap &arguments)
    : m_commandCode(commandCode)
    , m_commandName(commandName)
    , m_directParameter(directParameter)
    , m_arguments(arguments)
{}

QVariantMap FBFaxCommand::evaluatedArguments() const
{
    QVariantMap evaluated;
    for (auto it = m_arguments.cbegin(); it != m_arguments.cend(); ++it) {
        const QVariant &value = it.value();
        evaluated.insert(it.key(), value.canConvert<QString>() ? value.toString() : QString());
    }
    return evaluated;
}

void FBFaxCommand::performDefaultImplementation()
{
    if (m_commandCode == QLatin1String(kDialCommandCode)) {
        if (m_target)
            m_target->newFaxToNumber(m_directParameter);
        // Written for this command as well; scripts have long relied on seeing it.
        logUnknownCommand(false);
    } else if (m_commandCode == QLatin1String(kFaxDocumentCommandCode)
               || m_commandCode == QLatin1String(kFaxDocumentToNumberCommandCode)) {
        const QString number =
            evaluatedArguments().value(QLatin1String(kNumberArgumentKey)).toString();
        if (m_target)
            m_target->newFaxForFile(m_directParameter, number);
    } else {
        logUnknownCommand(true);
    }
}

void FBFaxCommand::logUnknownCommand(bool asWarning) const
{
    const QString line = QStringLiteral("unknown command . commandName=%1, directparm=%2")
                             .arg(m_commandName, m_directParameter);
    if (asWarning)
        qCWarning(lcApp).noquote() << line;
    else
        qCInfo(lcApp).noquote() << line;
}
