<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Die Anmeldung ist fehlgeschlagen. Bitte prüfen Sie Benutzername und Passwort.</translation>
    </message>
    <message id="pdfservice_admin_required">
        <source>pdfservice_admin_required</source>
        <translation>Drucker einzurichten erfordert Administratorrechte. Bitten Sie eine Administratorin oder einen Administrator dieses Computers, folgenden Befehl auszuführen:

%1</translation>
    </message>
    <message id="pdfservice_failed">
        <source>pdfservice_failed</source>
        <translation>Das Drucksystem hat die Änderung abgelehnt: %1</translation>
    </message>
</context>
</TS>
