#pragma once

#include <QString>
#include <QVariantMap>

class FBFaxDocumentTarget;

inline constexpr char kDialCommandCode[] = "dial";
inline constexpr char kFaxDocumentCommandCode[] = "fado";
inline constexpr char kFaxDocumentToNumberCommandCode[] = "faxd";
inline constexpr char kNumberArgumentKey[] = "numb";

// One scripting command: a four-character command code, the name it was called by, its direct
// parameter and its named arguments. Scripts reach it through the session bus.
class FBFaxCommand
{
public:
    FBFaxCommand(const QString &commandCode, const QString &commandName,
                 const QString &directParameter, const QVariantMap &arguments = {});

    QString commandCode() const { return m_commandCode; }
    QString commandName() const { return m_commandName; }
    QString directParameter() const { return m_directParameter; }
    // Named arguments reduced to text; values that have no text form become "".
    QVariantMap evaluatedArguments() const;

    // The application controller the command acts on; not owned. Without one the command
    // only logs.
    void setTarget(FBFaxDocumentTarget *target) { m_target = target; }

    // Carries the command out; a command has no result.
    void performDefaultImplementation();

private:
    void logUnknownCommand(bool asWarning) const;

    QString m_commandCode;
    QString m_commandName;
    QString m_directParameter;
    QVariantMap m_arguments;
    FBFaxDocumentTarget *m_target = nullptr;
};
