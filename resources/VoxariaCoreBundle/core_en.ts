<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Authentication failed. Please check your user name and password.</translation>
    </message>
</context>
</TS>
