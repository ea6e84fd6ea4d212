<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Die Anmeldung ist fehlgeschlagen. Bitte prüfen Sie Benutzername und Passwort.</translation>
    </message>
</context>
</TS>
