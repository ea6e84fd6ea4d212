<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Authentication failed. Please check your user name and password.</translation>
    </message>
    <message id="pdfservice_admin_required">
        <source>pdfservice_admin_required</source>
        <translation>Changing printers needs administrator rights. Ask an administrator of this computer to run:

%1</translation>
    </message>
    <message id="pdfservice_failed">
        <source>pdfservice_failed</source>
        <translation>The printing system refused the change: %1</translation>
    </message>
</context>
</TS>
