<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="done"><source>done</source><translation>Fertig</translation></message>
    <message id="unfinished"><source>unfinished</source><translation type="unfinished">Unfertig</translation></message>
    <message id="empty"><source>empty</source><translation> </translation></message>
    <message id="pages" numerus="yes"><source>pages</source><translation><numerusform>%n Seite</numerusform><numerusform></numerusform></translation></message>
</context>
</TS>
