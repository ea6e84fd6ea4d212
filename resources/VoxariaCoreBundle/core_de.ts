<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Die Anmeldung ist fehlgeschlagen. Bitte prüfen Sie Benutzername und Passwort.</translation>
    </message>
    <message id="xmlrpc_error_out_of_memory">
        <source>xmlrpc_error_out_of_memory</source>
        <translation>Dem Server ist bei der Bearbeitung dieser Anfrage der Speicher ausgegangen</translation>
    </message>
    <message id="xmlrpc_error_invalid_fault">
        <source>xmlrpc_error_invalid_fault</source>
        <translation>Die Daten sind keine gültige XML-RPC-Fehlerantwort</translation>
    </message>
    <message id="xmlrpc_error_invalid_response">
        <source>xmlrpc_error_invalid_response</source>
        <translation>Die Daten sind keine gültige XML-RPC-Antwort</translation>
    </message>
</context>
</TS>
