<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="error_auth">
        <source>error_auth</source>
        <translation>Authentication failed. Please check your user name and password.</translation>
    </message>
    <message id="xmlrpc_error_out_of_memory">
        <source>xmlrpc_error_out_of_memory</source>
        <translation>Your site ran out of memory while processing this request</translation>
    </message>
    <message id="xmlrpc_error_invalid_fault">
        <source>xmlrpc_error_invalid_fault</source>
        <translation>The data doesn&apos;t look like a valid XML-RPC Fault response</translation>
    </message>
    <message id="xmlrpc_error_invalid_response">
        <source>xmlrpc_error_invalid_response</source>
        <translation>The data doesn&apos;t look like a valid XML-RPC response</translation>
    </message>
</context>
</TS>
