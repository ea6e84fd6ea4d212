<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="done"><source>done</source><translation>Done</translation></message>
    <message id="untranslated"><source>untranslated</source><translation>Only English</translation></message>
    <message id="unfinished"><source>unfinished</source><translation>Unfinished</translation></message>
    <message id="empty"><source>empty</source><translation>Empty</translation></message>
    <message id="pages" numerus="yes"><source>pages</source><translation><numerusform>%n page</numerusform><numerusform>%n pages</numerusform></translation></message>
</context>
</TS>
