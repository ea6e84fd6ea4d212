<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <!-- Fax job progress titles -->
    <message id="fax_trasmit_queued">
        <source>fax_trasmit_queued</source>
        <extracomment>Progress title while the fax waits at the provider for its turn.</extracomment>
        <translation>Fax wartet auf den Versand</translation>
    </message>
    <message id="fax_trasmit_data">
        <source>fax_trasmit_data</source>
        <extracomment>Progress title while the provider transmits the fax.</extracomment>
        <translation>Fax wird übertragen …</translation>
    </message>
    <message id="fax_succeeded">
        <source>fax_succeeded</source>
        <extracomment>Progress title when the receiver got the fax.</extracomment>
        <translation>Fax erfolgreich gesendet</translation>
    </message>
    <message id="fax_failed">
        <source>fax_failed</source>
        <extracomment>Progress title when the transmission failed.</extracomment>
        <translation>Fax konnte nicht gesendet werden</translation>
    </message>
    <message id="error_auth">
        <source>error_auth</source>
        <extracomment>The provider rejected the user name or password (HTTP 401).</extracomment>
        <translation>Die Anmeldung ist fehlgeschlagen. Bitte prüfen Sie Benutzername und Passwort.</translation>
    </message>
    <!-- Transmission report -->
    <message id="successfully">
        <source>successfully</source>
        <extracomment>Transmission report: state of the fax and of one attempt that succeeded.</extracomment>
        <translation>Erfolgreich gesendet</translation>
    </message>
    <message id="failed">
        <source>failed</source>
        <extracomment>Transmission report: state of a fax with at least one failed attempt.</extracomment>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message id="error">
        <source>error</source>
        <extracomment>Title of error messages; in the report followed by " Code: " and the provider's status code.</extracomment>
        <translation>Fehler</translation>
    </message>
    <!-- Account -->
    <message id="current_balance">
        <source>current_balance</source>
        <extracomment>Followed by ": ", the amount and the currency.</extracomment>
        <translation>Aktuelles Guthaben</translation>
    </message>
    <message id="error_no_faxuri">
        <source>error_no_faxuri</source>
        <extracomment>The account's list of own numbers holds no fax line.</extracomment>
        <translation>Für Ihr Konto ist keine Faxleitung eingerichtet. Bitte richten Sie zuerst bei voxaria eine Faxleitung ein.</translation>
    </message>
    <!-- XML-RPC codec errors -->
    <message id="Your site ran out of memory while processing this request">
        <source>Your site ran out of memory while processing this request</source>
        <extracomment>XML-RPC: the server's answer reports that it ran out of memory.</extracomment>
        <translation>Dem Server ist bei der Verarbeitung dieser Anfrage der Speicher ausgegangen</translation>
    </message>
    <message id="The data doesn't look like a valid XML-RPC Fault response">
        <source>The data doesn't look like a valid XML-RPC Fault response</source>
        <extracomment>XML-RPC: a fault answer without a fault code.</extracomment>
        <translation>Die Daten sehen nicht nach einer gültigen XML-RPC-Fehlerantwort aus</translation>
    </message>
    <message id="The data doesn't look like a valid XML-RPC response">
        <source>The data doesn't look like a valid XML-RPC response</source>
        <extracomment>XML-RPC: an answer that could not be parsed.</extracomment>
        <translation>Die Daten sehen nicht nach einer gültigen XML-RPC-Antwort aus</translation>
    </message>
    <!-- Journal store -->
    <message id="Expected a folder to store application data, found a file (%@).">
        <source>Expected a folder to store application data, found a file (%@).</source>
        <extracomment>%1: the path where the data folder should be.</extracomment>
        <translation>Zum Speichern der Programmdaten wurde ein Ordner erwartet, aber eine Datei gefunden (%1).</translation>
    </message>
    <message id="Failed to initialize the store">
        <source>Failed to initialize the store</source>
        <extracomment>The journal could not be opened.</extracomment>
        <translation>Der Datenspeicher konnte nicht eingerichtet werden</translation>
    </message>
    <message id="There was an error building up the data file.">
        <source>There was an error building up the data file.</source>
        <extracomment>Reason given with "Failed to initialize the store".</extracomment>
        <translation>Beim Anlegen der Datendatei ist ein Fehler aufgetreten.</translation>
    </message>
    <!-- Phone book labels, shown in brackets after a name: Anna Klipleik (mobile) -->
    <message id="phone">
        <source>phone</source>
        <extracomment>Label of a number typed by hand, not from the address book.</extracomment>
        <translation>Telefon</translation>
    </message>
    <message id="iphone">
        <source>iphone</source>
        <extracomment>Address book label of a phone number (Apple's "iPhone" type).</extracomment>
        <translation>iPhone</translation>
    </message>
    <message id="mobile">
        <source>mobile</source>
        <extracomment>Address book label of a phone number (vCard TEL type CELL).</extracomment>
        <translation>Mobil</translation>
    </message>
    <message id="home">
        <source>home</source>
        <extracomment>Address book label of a phone number (vCard TEL type HOME).</extracomment>
        <translation>Privat</translation>
    </message>
    <message id="work">
        <source>work</source>
        <extracomment>Address book label of a phone number (vCard TEL type WORK).</extracomment>
        <translation>Arbeit</translation>
    </message>
    <message id="main">
        <source>main</source>
        <extracomment>Address book label of a phone number (main or preferred number).</extracomment>
        <translation>Hauptnummer</translation>
    </message>
    <message id="other">
        <source>other</source>
        <extracomment>Address book label of a phone number without a more specific type.</extracomment>
        <translation>Andere</translation>
    </message>
    <message id="fax">
        <source>fax</source>
        <extracomment>Address book label of a fax number (vCard TEL type FAX).</extracomment>
        <translation>Fax</translation>
    </message>
    <message id="home_fax">
        <source>home_fax</source>
        <extracomment>Address book label of a private fax number.</extracomment>
        <translation>Fax privat</translation>
    </message>
    <message id="work_fax">
        <source>work_fax</source>
        <extracomment>Address book label of a business fax number.</extracomment>
        <translation>Fax geschäftlich</translation>
    </message>
    <message id="other_fax">
        <source>other_fax</source>
        <extracomment>Address book label of any other fax number.</extracomment>
        <translation>Fax andere</translation>
    </message>
    <message id="pager">
        <source>pager</source>
        <extracomment>Address book label of a pager number.</extracomment>
        <translation>Pager</translation>
    </message>
    <message id="car">
        <source>car</source>
        <extracomment>Address book label of a car phone.</extracomment>
        <translation>Auto</translation>
    </message>
    <message id="voice">
        <source>voice</source>
        <extracomment>Address book label of a voice line (vCard TEL type VOICE).</extracomment>
        <translation>Telefon</translation>
    </message>
    <message id="video">
        <source>video</source>
        <extracomment>Address book label of a video phone.</extracomment>
        <translation>Video</translation>
    </message>
    <message id="textphone">
        <source>textphone</source>
        <extracomment>Address book label of a text phone for the deaf (TTY/TDD).</extracomment>
        <translation>Schreibtelefon</translation>
    </message>
    <message id="isdn">
        <source>isdn</source>
        <extracomment>Address book label of an ISDN line.</extracomment>
        <translation>ISDN</translation>
    </message>
    <message id="assistant">
        <source>assistant</source>
        <extracomment>Address book label of an assistant's number.</extracomment>
        <translation>Assistenz</translation>
    </message>
    <message id="callback">
        <source>callback</source>
        <extracomment>Address book label of a callback number.</extracomment>
        <translation>Rückruf</translation>
    </message>
    <message id="company">
        <source>company</source>
        <extracomment>Address book label of a company's switchboard number.</extracomment>
        <translation>Firma</translation>
    </message>
    <message id="radio">
        <source>radio</source>
        <extracomment>Address book label of a radio telephone.</extracomment>
        <translation>Funk</translation>
    </message>
    <message id="telex">
        <source>telex</source>
        <extracomment>Address book label of a telex number.</extracomment>
        <translation>Telex</translation>
    </message>
    <!-- Cover page -->
    <message id="cover_title">
        <source>cover_title</source>
        <extracomment>The large title of the fax cover page.</extracomment>
        <translation>Fax</translation>
    </message>
    <message id="cover_to">
        <source>cover_to</source>
        <extracomment>Cover page caption of the receiver.</extracomment>
        <translation>An</translation>
    </message>
    <message id="cover_from">
        <source>cover_from</source>
        <extracomment>Cover page caption of the sender.</extracomment>
        <translation>Von</translation>
    </message>
    <message id="cover_fax_line">
        <source>cover_fax_line</source>
        <extracomment>Cover page caption of the sender's fax number.</extracomment>
        <translation>Faxnummer</translation>
    </message>
    <message id="cover_subject">
        <source>cover_subject</source>
        <extracomment>Cover page caption of the subject.</extracomment>
        <translation>Betreff</translation>
    </message>
    <message id="cover_date">
        <source>cover_date</source>
        <extracomment>Cover page caption of the date.</extracomment>
        <translation>Datum</translation>
    </message>
    <message id="cover_pages">
        <source>cover_pages</source>
        <extracomment>Cover page caption of the page count, the cover included.</extracomment>
        <translation>Seiten</translation>
    </message>
</context>
</TS>
