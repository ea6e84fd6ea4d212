<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <!-- Main window and send workflow -->
    <message id="help_newfax">
        <source>help_newfax</source>
        <extracomment>Help bubble shown when the fax window opens.</extracomment>
        <translation>Öffnen Sie ein PDF-Dokument, ziehen Sie eines in dieses Fenster oder drucken Sie aus einem beliebigen Programm auf „voxaria Faxolino“. Geben Sie dann die Empfänger ein und klicken Sie auf „Senden“.</translation>
    </message>
    <message id="sendFax">
        <source>sendFax</source>
        <extracomment>Status while sending; %1: the current receiver's name, or the number as typed.</extracomment>
        <translation>Fax an %1 wird gesendet …</translation>
    </message>
    <message id="receiver">
        <source>receiver</source>
        <extracomment>Toolbar label of the recipient field when no fax is being sent.</extracomment>
        <translation>Empfänger</translation>
    </message>
    <message id="page">
        <source>page</source>
        <extracomment>Follows the page count when it is 1: "1 page".</extracomment>
        <translation>Seite</translation>
    </message>
    <message id="pages">
        <source>pages</source>
        <extracomment>Follows the page count when it is 2 or more: "3 pages".</extracomment>
        <translation>Seiten</translation>
    </message>
    <message id="fax_to">
        <source>fax_to</source>
        <extracomment>Notification title; %1: the receiver's fax number.</extracomment>
        <translation>Fax an %1</translation>
    </message>
    <message id="fax_succeeded_quit">
        <source>fax_succeeded_quit</source>
        <extracomment>Notification text when the program quits after a successful send.</extracomment>
        <translation>Das Fax wurde gesendet. Faxolino wird jetzt beendet.</translation>
    </message>
    <message id="fax_unavailable">
        <source>fax_unavailable</source>
        <extracomment>Balance line after a service error; followed by the error message in brackets.</extracomment>
        <translation>Faxdienst nicht verfügbar</translation>
    </message>
    <message id="clipboard">
        <source>clipboard</source>
        <extracomment>Menu item of a recipient; followed by a blank and the number found on the clipboard.</extracomment>
        <translation>Aus der Zwischenablage einfügen:</translation>
    </message>
    <message id="plugin_error_header">
        <source>plugin_error_header</source>
        <extracomment>Alert when a printed document arrived unreadable.</extracomment>
        <translation>Das gedruckte Dokument konnte nicht gelesen werden.</translation>
    </message>
    <message id="plugin_error_body">
        <source>plugin_error_body</source>
        <extracomment>Explanation of the alert "plugin_error_header"; its default button is "refresh".</extracomment>
        <translation>Der Drucker „voxaria Faxolino“ hat kein lesbares Dokument geliefert. Meist hilft es, den Drucker neu zu installieren.</translation>
    </message>
    <message id="refresh">
        <source>refresh</source>
        <extracomment>Button that reinstalls the printer "voxaria Faxolino".</extracomment>
        <translation>Neu installieren</translation>
    </message>
    <message id="cancel">
        <source>cancel</source>
        <extracomment>Button that closes an alert without doing anything.</extracomment>
        <translation>Abbrechen</translation>
    </message>
    <message id="error_empty_document_title">
        <source>error_empty_document_title</source>
        <extracomment>Alert title when Send is clicked without a document.</extracomment>
        <translation>Kein Dokument</translation>
    </message>
    <message id="error_empty_document">
        <source>error_empty_document</source>
        <extracomment>Alert text when Send is clicked without a document.</extracomment>
        <translation>Bitte öffnen Sie vor dem Senden ein PDF-Dokument oder ziehen Sie eines in das Fenster.</translation>
    </message>
    <message id="error_empty_number">
        <source>error_empty_number</source>
        <extracomment>Alert text when Send is clicked without a recipient.</extracomment>
        <translation>Bitte geben Sie mindestens einen Empfänger an.</translation>
    </message>
    <!-- Preferences -->
    <message id="service_installed">
        <source>service_installed</source>
        <extracomment>Preferences: state of the print-to-fax printer.</extracomment>
        <translation>Der Drucker „voxaria Faxolino“ ist installiert.</translation>
    </message>
    <message id="service_not_installed">
        <source>service_not_installed</source>
        <extracomment>Preferences: state of the print-to-fax printer.</extracomment>
        <translation>Der Drucker „voxaria Faxolino“ ist nicht installiert.</translation>
    </message>
    <message id="help_use_system">
        <source>help_use_system</source>
        <extracomment>Preferences: hint below the printer state.</extracomment>
        <translation>Um ein Dokument aus einem beliebigen Programm zu faxen, drucken Sie es auf den Drucker „voxaria Faxolino“.</translation>
    </message>
    <message id="Install">
        <source>Install</source>
        <extracomment>Preferences: button that installs the printer.</extracomment>
        <translation>Installieren</translation>
    </message>
    <message id="Uninstall">
        <source>Uninstall</source>
        <extracomment>Preferences: button that removes the printer.</extracomment>
        <translation>Entfernen</translation>
    </message>
    <!-- Quit alert when the journal could not be saved -->
    <message id="Could not save changes while quitting. Quit anyway?">
        <source>Could not save changes while quitting. Quit anyway?</source>
        <translation>Die Änderungen konnten beim Beenden nicht gesichert werden. Trotzdem beenden?</translation>
    </message>
    <message id="Quitting now will lose any changes you have made since the last successful save">
        <source>Quitting now will lose any changes you have made since the last successful save</source>
        <translation>Wenn Sie jetzt beenden, gehen alle Änderungen seit dem letzten erfolgreichen Sichern verloren</translation>
    </message>
    <message id="Quit anyway">
        <source>Quit anyway</source>
        <translation>Trotzdem beenden</translation>
    </message>
    <message id="Cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <!-- Help on status codes, keys built from the code as "0x%x", upper-cased (500 gives 0X1F4) -->
    <message id="0X191">
        <source>0X191</source>
        <extracomment>Title of the help for status code 401; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Anmeldung fehlgeschlagen (401)</translation>
    </message>
    <message id="0X191_detail">
        <source>0X191_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 401.</extracomment>
        <translation>Der Faxdienst hat Ihren Benutzernamen oder Ihr Passwort nicht akzeptiert. Bitte prüfen Sie Ihr Konto in den Einstellungen.</translation>
    </message>
    <message id="0X193">
        <source>0X193</source>
        <extracomment>Title of the help for status code 403; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Zugriff verweigert (403)</translation>
    </message>
    <message id="0X193_detail">
        <source>0X193_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 403.</extracomment>
        <translation>Ihr Konto darf diesen Dienst oder diese Faxleitung nicht nutzen. Bitte prüfen Sie die gewählte Faxleitung und Ihren Vertrag bei voxaria.</translation>
    </message>
    <message id="0X194">
        <source>0X194</source>
        <extracomment>Title of the help for status code 404; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Nicht gefunden (404)</translation>
    </message>
    <message id="0X194_detail">
        <source>0X194_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 404.</extracomment>
        <translation>Die Nummer wurde nicht gefunden. Bitte prüfen Sie die Faxnummer des Empfängers.</translation>
    </message>
    <message id="0X198">
        <source>0X198</source>
        <extracomment>Title of the help for status code 408; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Keine Antwort (408)</translation>
    </message>
    <message id="0X198_detail">
        <source>0X198_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 408.</extracomment>
        <translation>Das Faxgerät des Empfängers hat nicht rechtzeitig geantwortet. Bitte versuchen Sie es später erneut.</translation>
    </message>
    <message id="0X1E0">
        <source>0X1E0</source>
        <extracomment>Title of the help for status code 480; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Vorübergehend nicht erreichbar (480)</translation>
    </message>
    <message id="0X1E0_detail">
        <source>0X1E0_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 480.</extracomment>
        <translation>Der Empfänger ist im Moment nicht erreichbar. Bitte versuchen Sie es später erneut.</translation>
    </message>
    <message id="0X1E6">
        <source>0X1E6</source>
        <extracomment>Title of the help for status code 486; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Besetzt (486)</translation>
    </message>
    <message id="0X1E6_detail">
        <source>0X1E6_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 486.</extracomment>
        <translation>Die Leitung des Empfängers ist besetzt. Bitte versuchen Sie es in einigen Minuten erneut.</translation>
    </message>
    <message id="0X1E7">
        <source>0X1E7</source>
        <extracomment>Title of the help for status code 487; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Abgebrochen (487)</translation>
    </message>
    <message id="0X1E7_detail">
        <source>0X1E7_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 487.</extracomment>
        <translation>Die Übertragung wurde abgebrochen, bevor der Empfänger angenommen hat.</translation>
    </message>
    <message id="0X1E8">
        <source>0X1E8</source>
        <extracomment>Title of the help for status code 488; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Kein Faxgerät (488)</translation>
    </message>
    <message id="0X1E8_detail">
        <source>0X1E8_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 488.</extracomment>
        <translation>Das Gerät des Empfängers hat die Faxübertragung nicht angenommen. Bitte prüfen Sie, ob die Nummer zu einem Faxgerät gehört.</translation>
    </message>
    <message id="0X1F4">
        <source>0X1F4</source>
        <extracomment>Title of the help for status code 500; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Fehler beim Faxdienst (500)</translation>
    </message>
    <message id="0X1F4_detail">
        <source>0X1F4_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 500.</extracomment>
        <translation>Beim Faxdienst ist ein interner Fehler aufgetreten, die Anfrage konnte nicht bearbeitet werden. Bitte versuchen Sie es später erneut. Besteht das Problem weiter, wenden Sie sich bitte an den voxaria-Support.</translation>
    </message>
    <message id="0X1F7">
        <source>0X1F7</source>
        <extracomment>Title of the help for status code 503; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Dienst nicht verfügbar (503)</translation>
    </message>
    <message id="0X1F7_detail">
        <source>0X1F7_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 503.</extracomment>
        <translation>Der Faxdienst ist vorübergehend nicht verfügbar, zum Beispiel wegen Wartungsarbeiten. Bitte versuchen Sie es später erneut.</translation>
    </message>
    <message id="0X25B">
        <source>0X25B</source>
        <extracomment>Title of the help for status code 603; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Abgelehnt (603)</translation>
    </message>
    <message id="0X25B_detail">
        <source>0X25B_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 603.</extracomment>
        <translation>Der Empfänger hat den Anruf abgelehnt.</translation>
    </message>
    <message id="0XFFFFFFFF">
        <source>0XFFFFFFFF</source>
        <extracomment>Title of the help for status code -1; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Unlesbare Antwort</translation>
    </message>
    <message id="0XFFFFFFFF_detail">
        <source>0XFFFFFFFF_detail</source>
        <extracomment>Explanation shown below the title of the help for status code -1.</extracomment>
        <translation>Der Faxdienst hat eine Antwort geschickt, die nicht gelesen werden konnte. Bitte versuchen Sie es später erneut.</translation>
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
    <!-- Main window: toolbar, menus and panes -->
    <message id="toolbar">
        <source>toolbar</source>
        <translation>Hauptwerkzeugleiste</translation>
    </message>
    <message id="toolbar_new_fax">
        <source>toolbar_new_fax</source>
        <translation>Neues Fax</translation>
    </message>
    <message id="toolbar_open">
        <source>toolbar_open</source>
        <translation>Öffnen …</translation>
    </message>
    <message id="toolbar_add_pages">
        <source>toolbar_add_pages</source>
        <translation>Seiten hinzufügen …</translation>
    </message>
    <message id="toolbar_delete_page">
        <source>toolbar_delete_page</source>
        <translation>Seite löschen</translation>
    </message>
    <message id="toolbar_cover_sheet">
        <source>toolbar_cover_sheet</source>
        <translation>Deckblatt</translation>
    </message>
    <message id="toolbar_document_type">
        <source>toolbar_document_type</source>
        <translation>Dokumenttyp</translation>
    </message>
    <message id="document_type_text">
        <source>document_type_text</source>
        <translation>Text</translation>
    </message>
    <message id="document_type_mixed">
        <source>document_type_mixed</source>
        <translation>Gemischt</translation>
    </message>
    <message id="toolbar_send">
        <source>toolbar_send</source>
        <translation>Senden</translation>
    </message>
    <message id="toolbar_reports">
        <source>toolbar_reports</source>
        <translation>Sendeberichte</translation>
    </message>
    <message id="toolbar_preferences">
        <source>toolbar_preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message id="menu_file">
        <source>menu_file</source>
        <translation>&amp;Datei</translation>
    </message>
    <message id="menu_edit">
        <source>menu_edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message id="menu_view">
        <source>menu_view</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message id="menu_quit">
        <source>menu_quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message id="menu_extended_toolbar">
        <source>menu_extended_toolbar</source>
        <translation>Beschriftungen der Werkzeugleiste zeigen</translation>
    </message>
    <message id="sending_progress">
        <source>sending_progress</source>
        <translation>Sendefortschritt</translation>
    </message>
    <message id="pages_grid">
        <source>pages_grid</source>
        <translation>Faxseiten</translation>
    </message>
    <message id="preview">
        <source>preview</source>
        <translation>Vorschau der Faxseiten</translation>
    </message>
    <message id="preparing_pages">
        <source>preparing_pages</source>
        <translation>Faxseiten werden vorbereitet</translation>
    </message>
    <message id="account_not_configured">
        <source>account_not_configured</source>
        <translation>Noch kein voxaria-Konto eingerichtet</translation>
    </message>
    <message id="pdf_filter">
        <source>pdf_filter</source>
        <translation>PDF-Dokumente (*.pdf *.PDF)</translation>
    </message>
    <message id="thumbnail_page">
        <source>thumbnail_page</source>
        <translation>Seite %1 von %2</translation>
    </message>
    <message id="notification_open">
        <source>notification_open</source>
        <translation>Sendebericht öffnen</translation>
    </message>
    <message id="cancel_remaining_receivers">
        <source>cancel_remaining_receivers</source>
        <translation>Die laufende Übertragung beenden lassen und an keinen weiteren Empfänger senden</translation>
    </message>
    <message id="menu_undo">
        <source>menu_undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message id="menu_redo">
        <source>menu_redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message id="move_pages">
        <source>move_pages</source>
        <translation>Seiten verschieben</translation>
    </message>
    <message id="status_help">
        <source>status_help</source>
        <translation>Was bedeutet das?</translation>
    </message>
    <message id="error_invalid_receiver">
        <source>error_invalid_receiver</source>
        <extracomment>%1: the receiver as typed.</extracomment>
        <translation>„%1“ ist weder eine Faxnummer noch ein Name aus Ihrem Adressbuch.</translation>
    </message>
    <!-- Preferences window -->
    <message id="preferences_toolbar">
        <source>preferences_toolbar</source>
        <extracomment>Name of the preferences window's toolbar, for assistive technology.</extracomment>
        <translation>Einstellungsseiten</translation>
    </message>
    <message id="preferences_account">
        <source>preferences_account</source>
        <extracomment>Preferences: toolbar item of the account page.</extracomment>
        <translation>Konto</translation>
    </message>
    <message id="preferences_system">
        <source>preferences_system</source>
        <extracomment>Preferences: toolbar item of the page with the printer, the reports and the address book.</extracomment>
        <translation>System</translation>
    </message>
    <message id="preferences_username">
        <source>preferences_username</source>
        <extracomment>Preferences: label of the provider account's user name; &amp; marks the access key.</extracomment>
        <translation>&amp;Benutzername:</translation>
    </message>
    <message id="preferences_password">
        <source>preferences_password</source>
        <extracomment>Preferences: label of the provider account's password.</extracomment>
        <translation>&amp;Passwort:</translation>
    </message>
    <message id="preferences_account_state">
        <source>preferences_account_state</source>
        <extracomment>Preferences: label of the line that shows the balance or why the account could not be checked.</extracomment>
        <translation>Status:</translation>
    </message>
    <message id="preferences_checking">
        <source>preferences_checking</source>
        <extracomment>Preferences: accessible name of the busy indicator while the account is checked.</extracomment>
        <translation>Konto wird geprüft …</translation>
    </message>
    <message id="preferences_fax_line">
        <source>preferences_fax_line</source>
        <extracomment>Preferences: label of the list of the account's fax numbers.</extracomment>
        <translation>Senden von &amp;Faxnummer:</translation>
    </message>
    <message id="preferences_page_header">
        <source>preferences_page_header</source>
        <extracomment>Preferences: group of the fields printed at the top of every fax page.</extracomment>
        <translation>Kopfzeile der Faxseiten</translation>
    </message>
    <message id="preferences_fax_id">
        <source>preferences_fax_id</source>
        <extracomment>Preferences: label of the fax identification (the sender's number shown to the receiver).</extracomment>
        <translation>Fax-&amp;Kennung:</translation>
    </message>
    <message id="preferences_fax_header">
        <source>preferences_fax_header</source>
        <extracomment>Preferences: label of the free text at the top of every fax page.</extracomment>
        <translation>Kopf&amp;zeilentext:</translation>
    </message>
    <message id="preferences_fax_id_placeholder">
        <source>preferences_fax_id_placeholder</source>
        <extracomment>Preferences: example shown in the empty fax identification field.</extracomment>
        <translation>z. B. +49 211 55500199</translation>
    </message>
    <message id="preferences_fax_header_placeholder">
        <source>preferences_fax_header_placeholder</source>
        <extracomment>Preferences: example shown in the empty header text field.</extracomment>
        <translation>z. B. Ihr Name oder Ihre Firma</translation>
    </message>
    <message id="preferences_help_account">
        <source>preferences_help_account</source>
        <extracomment>Preferences: tooltip of the help button on the account page.</extracomment>
        <translation>Hilfe zum Konto und zur Faxnummer</translation>
    </message>
    <message id="preferences_help_printer">
        <source>preferences_help_printer</source>
        <extracomment>Preferences: tooltip of the help button of the printer.</extracomment>
        <translation>Hilfe zum Faxen per Drucker</translation>
    </message>
    <message id="preferences_help_reports">
        <source>preferences_help_reports</source>
        <extracomment>Preferences: tooltip of the help button of the reports.</extracomment>
        <translation>Hilfe zu Sendeberichten</translation>
    </message>
    <message id="keychain_unavailable">
        <source>keychain_unavailable</source>
        <extracomment>Preferences: balance line when the keyring cannot be read (e.g. locked); followed by the keyring's message in brackets.</extracomment>
        <translation>Das Passwort konnte nicht aus dem Schlüsselbund gelesen werden</translation>
    </message>
    <message id="keychain_store_failed">
        <source>keychain_store_failed</source>
        <extracomment>Preferences: balance line when the keyring does not accept the password; followed by the keyring's message in brackets.</extracomment>
        <translation>Das Passwort konnte nicht im Schlüsselbund gespeichert werden</translation>
    </message>
    <message id="preferences_printer">
        <source>preferences_printer</source>
        <extracomment>Preferences: group of the print-to-fax printer.</extracomment>
        <translation>Drucker</translation>
    </message>
    <message id="preferences_copy_command">
        <source>preferences_copy_command</source>
        <extracomment>Preferences: button that copies the administrator's command for the printer.</extracomment>
        <translation>Befehl &amp;kopieren</translation>
    </message>
    <message id="preferences_reports">
        <source>preferences_reports</source>
        <extracomment>Preferences: group of the transmission report settings.</extracomment>
        <translation>Sendeberichte</translation>
    </message>
    <message id="preferences_report_folder">
        <source>preferences_report_folder</source>
        <extracomment>Preferences: label of the folder in which transmission reports are stored.</extracomment>
        <translation>Berichts&amp;ordner:</translation>
    </message>
    <message id="preferences_choose">
        <source>preferences_choose</source>
        <extracomment>Preferences: button that opens the folder chooser for the reports.</extracomment>
        <translation>&amp;Auswählen …</translation>
    </message>
    <message id="preferences_choose_report_folder">
        <source>preferences_choose_report_folder</source>
        <extracomment>Title of the folder chooser for the reports.</extracomment>
        <translation>Ordner für Sendeberichte auswählen</translation>
    </message>
    <message id="preferences_save_send_document">
        <source>preferences_save_send_document</source>
        <extracomment>Preferences: check box; keeps a copy of the sent pages with each report.</extracomment>
        <translation>Gesendete Seiten mit jedem Bericht auf&amp;bewahren</translation>
    </message>
    <message id="preferences_quit_on_success">
        <source>preferences_quit_on_success</source>
        <extracomment>Preferences: check box; the program quits after a fax was sent successfully.</extracomment>
        <translation>Nach erfolgreichem Senden be&amp;enden</translation>
    </message>
    <message id="preferences_vcards">
        <source>preferences_vcards</source>
        <extracomment>Preferences: group and list of the vCard files and folders searched for recipients.</extracomment>
        <translation>Adressbuch: vCard-Dateien</translation>
    </message>
    <message id="preferences_vcards_hint">
        <source>preferences_vcards_hint</source>
        <extracomment>Preferences: explanation above the list of vCard files.</extracomment>
        <translation>Neben dem Adressbuch des Desktops werden Empfänger auch in diesen vCard-Dateien und -Ordnern gesucht.</translation>
    </message>
    <message id="preferences_add_vcard_file">
        <source>preferences_add_vcard_file</source>
        <extracomment>Preferences: button that adds vCard files.</extracomment>
        <translation>&amp;Datei hinzufügen …</translation>
    </message>
    <message id="preferences_add_vcard_folder">
        <source>preferences_add_vcard_folder</source>
        <extracomment>Preferences: button that adds a folder of vCard files.</extracomment>
        <translation>O&amp;rdner hinzufügen …</translation>
    </message>
    <message id="preferences_remove_vcard">
        <source>preferences_remove_vcard</source>
        <extracomment>Preferences: button that removes the selected vCard sources.</extracomment>
        <translation>Ent&amp;fernen</translation>
    </message>
    <message id="preferences_vcard_filter">
        <source>preferences_vcard_filter</source>
        <extracomment>File chooser filter for vCard files.</extracomment>
        <translation>vCard-Dateien (*.vcf *.vcard)</translation>
    </message>
    <message id="preferences_choose_vcard_file">
        <source>preferences_choose_vcard_file</source>
        <extracomment>Title of the chooser for vCard files.</extracomment>
        <translation>vCard-Dateien hinzufügen</translation>
    </message>
    <message id="preferences_choose_vcard_folder">
        <source>preferences_choose_vcard_folder</source>
        <extracomment>Title of the chooser for a folder of vCard files.</extracomment>
        <translation>Ordner mit vCard-Dateien hinzufügen</translation>
    </message>
    <!-- Report window -->
    <message id="report_window_title">
        <source>report_window_title</source>
        <extracomment>Title of the report window.</extracomment>
        <translation>Sendeberichte</translation>
    </message>
    <message id="report_column_date">
        <source>report_column_date</source>
        <extracomment>Report list column: when the fax was sent.</extracomment>
        <translation>Datum</translation>
    </message>
    <message id="report_column_number">
        <source>report_column_number</source>
        <extracomment>Report list column: the receiver's number.</extracomment>
        <translation>Nummer</translation>
    </message>
    <message id="report_column_name">
        <source>report_column_name</source>
        <extracomment>Report list column: the receiver's name from the address book.</extracomment>
        <translation>Name</translation>
    </message>
    <message id="report_column_pages">
        <source>report_column_pages</source>
        <extracomment>Report list column: the page count.</extracomment>
        <translation>Seiten</translation>
    </message>
    <message id="report_column_state">
        <source>report_column_state</source>
        <extracomment>Report list column: sent, failed or still open.</extracomment>
        <translation>Status</translation>
    </message>
    <message id="report_state_sent">
        <source>report_state_sent</source>
        <extracomment>State of a fax that reached its receiver.</extracomment>
        <translation>Gesendet</translation>
    </message>
    <message id="report_state_open">
        <source>report_state_open</source>
        <extracomment>State of a fax whose outcome is not known yet.</extracomment>
        <translation>Ausstehend</translation>
    </message>
    <message id="report_state_failed">
        <source>report_state_failed</source>
        <extracomment>State of a failed fax; %1: the text of the provider's status code.</extracomment>
        <translation>Fehlgeschlagen: %1</translation>
    </message>
    <message id="report_state_failed_code">
        <source>report_state_failed_code</source>
        <extracomment>State of a failed fax whose status code has no text; %1: the code.</extracomment>
        <translation>Fehlgeschlagen (Code %1)</translation>
    </message>
    <message id="report_actions">
        <source>report_actions</source>
        <extracomment>Accessible name of the report window's action buttons.</extracomment>
        <translation>Berichtsaktionen</translation>
    </message>
    <message id="report_open">
        <source>report_open</source>
        <extracomment>Opens the selected report in the default PDF viewer.</extracomment>
        <translation>Öffnen</translation>
    </message>
    <message id="report_reveal">
        <source>report_reveal</source>
        <extracomment>Shows the report file in the file manager.</extracomment>
        <translation>Im Ordner zeigen</translation>
    </message>
    <message id="report_delete">
        <source>report_delete</source>
        <extracomment>Deletes the report file and its journal entry.</extracomment>
        <translation>Löschen</translation>
    </message>
    <message id="report_export">
        <source>report_export</source>
        <extracomment>Copies the report file into a chosen folder.</extracomment>
        <translation>Exportieren …</translation>
    </message>
    <message id="report_export_title">
        <source>report_export_title</source>
        <extracomment>Title of the folder chooser for exporting a report.</extracomment>
        <translation>Bericht exportieren nach</translation>
    </message>
    <message id="report_send_again">
        <source>report_send_again</source>
        <extracomment>Starts a new fax with the pages and the number of the chosen fax.</extracomment>
        <translation>Erneut senden</translation>
    </message>
    <message id="send_again_tooltip">
        <source>send_again_tooltip</source>
        <extracomment>Tooltip of Send Again when it is available.</extracomment>
        <translation>Diese Seiten erneut an diese Nummer senden</translation>
    </message>
    <message id="send_again_no_fax">
        <source>send_again_no_fax</source>
        <extracomment>Tooltip of Send Again when no fax is selected.</extracomment>
        <translation>Wählen Sie ein Fax aus, um es erneut zu senden.</translation>
    </message>
    <message id="send_again_no_report">
        <source>send_again_no_report</source>
        <extracomment>Tooltip of Send Again when the report file is gone.</extracomment>
        <translation>Die Berichtsdatei dieses Faxes fehlt und mit ihr die gesendeten Seiten.</translation>
    </message>
    <message id="send_again_no_pages">
        <source>send_again_no_pages</source>
        <extracomment>Tooltip of Send Again when only the report was kept.</extracomment>
        <translation>Für dieses Fax wurde nur der Bericht aufbewahrt, nicht die gesendeten Seiten. Bewahren Sie in den Einstellungen gesendete Dokumente mit ihren Berichten auf, um spätere Faxe erneut senden zu können.</translation>
    </message>
    <message id="report_search">
        <source>report_search</source>
        <extracomment>Placeholder and accessible name of the report search field.</extracomment>
        <translation>Nummer oder Datum suchen</translation>
    </message>
    <message id="report_list">
        <source>report_list</source>
        <extracomment>Accessible name of the list of sent faxes.</extracomment>
        <translation>Gesendete Faxe</translation>
    </message>
    <message id="report_view">
        <source>report_view</source>
        <extracomment>Accessible name of the report preview.</extracomment>
        <translation>Sendebericht</translation>
    </message>
    <message id="report_none_selected">
        <source>report_none_selected</source>
        <extracomment>Shown in place of a report when no fax is selected.</extracomment>
        <translation>Wählen Sie ein Fax aus, um seinen Sendebericht zu sehen.</translation>
    </message>
    <message id="report_no_faxes">
        <source>report_no_faxes</source>
        <extracomment>Shown in place of a report when the journal is empty.</extracomment>
        <translation>Es wurden noch keine Faxe gesendet.</translation>
    </message>
    <message id="report_no_match">
        <source>report_no_match</source>
        <extracomment>Shown when the search finds no fax; %1: the search text.</extracomment>
        <translation>Kein Fax passt zu „%1“.</translation>
    </message>
    <message id="report_missing">
        <source>report_missing</source>
        <extracomment>Shown in place of a report whose file is gone; %1: its path.</extracomment>
        <translation>Die Berichtsdatei fehlt:
%1</translation>
    </message>
    <message id="report_unreadable">
        <source>report_unreadable</source>
        <extracomment>Shown in place of a report that cannot be read; %1: its path.</extracomment>
        <translation>Die Berichtsdatei kann nicht gelesen werden:
%1</translation>
    </message>
    <message id="ok">
        <source>ok</source>
        <extracomment>Button that applies a window's changes.</extracomment>
        <translation>OK</translation>
    </message>
    <message id="cover_window_title">
        <source>cover_window_title</source>
        <extracomment>Title of the cover sheet window.</extracomment>
        <translation>Deckblatt</translation>
    </message>
    <message id="cover_field_to">
        <source>cover_field_to</source>
        <extracomment>Form caption of the recipient lines on the cover sheet; &amp; marks the access key.</extracomment>
        <translation>&amp;An:</translation>
    </message>
    <message id="cover_field_from">
        <source>cover_field_from</source>
        <extracomment>Form caption of the sender lines on the cover sheet.</extracomment>
        <translation>&amp;Von:</translation>
    </message>
    <message id="cover_field_subject">
        <source>cover_field_subject</source>
        <extracomment>Form caption of the cover sheet's subject.</extracomment>
        <translation>&amp;Betreff:</translation>
    </message>
    <message id="cover_field_message">
        <source>cover_field_message</source>
        <extracomment>Form caption of the cover sheet's free text.</extracomment>
        <translation>&amp;Nachricht:</translation>
    </message>
    <message id="cover_field_to_name">
        <source>cover_field_to_name</source>
        <extracomment>Accessible name of the recipient field of the cover sheet.</extracomment>
        <translation>An</translation>
    </message>
    <message id="cover_field_from_name">
        <source>cover_field_from_name</source>
        <extracomment>Accessible name of the sender field of the cover sheet.</extracomment>
        <translation>Von</translation>
    </message>
    <message id="cover_field_subject_name">
        <source>cover_field_subject_name</source>
        <extracomment>Accessible name of the subject field of the cover sheet.</extracomment>
        <translation>Betreff</translation>
    </message>
    <message id="cover_field_message_name">
        <source>cover_field_message_name</source>
        <extracomment>Accessible name of the free text of the cover sheet.</extracomment>
        <translation>Nachricht</translation>
    </message>
    <message id="cover_message_placeholder">
        <source>cover_message_placeholder</source>
        <extracomment>Shown in the empty free text of the cover sheet.</extracomment>
        <translation>Ein paar Worte an den Empfänger</translation>
    </message>
    <message id="cover_format">
        <source>cover_format</source>
        <extracomment>Accessible name of the text formatting buttons.</extracomment>
        <translation>Textformat</translation>
    </message>
    <message id="cover_bold">
        <source>cover_bold</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Fett</translation>
    </message>
    <message id="cover_italic">
        <source>cover_italic</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Kursiv</translation>
    </message>
    <message id="cover_underline">
        <source>cover_underline</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Unterstrichen</translation>
    </message>
    <message id="cover_list">
        <source>cover_list</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Aufzählung</translation>
    </message>
    <message id="cover_automatic_note">
        <source>cover_automatic_note</source>
        <extracomment>Below the cover sheet form.</extracomment>
        <translation>Das heutige Datum und Ihre Faxnummer stehen von selbst auf der Seite. An und Von fassen je bis zu drei Zeilen.</translation>
    </message>
    <message id="cover_preview">
        <source>cover_preview</source>
        <extracomment>Caption and accessible name of the cover sheet preview.</extracomment>
        <translation>Vorschau</translation>
    </message>
    <message id="cover_scale">
        <source>cover_scale</source>
        <extracomment>Accessible name of the preview's size menu.</extracomment>
        <translation>Vorschaugröße</translation>
    </message>
    <message id="cover_scale_whole_page">
        <source>cover_scale_whole_page</source>
        <extracomment>Preview size: the whole page fitted to the window.</extracomment>
        <translation>Ganze Seite</translation>
    </message>
    <message id="cover_scale_three_quarters">
        <source>cover_scale_three_quarters</source>
        <extracomment>Preview size: three quarters of the whole page.</extracomment>
        <translation>75 %</translation>
    </message>
    <message id="cover_use">
        <source>cover_use</source>
        <extracomment>Check box of the cover sheet window.</extracomment>
        <translation>Dieses Deckblatt vor das Fax stellen</translation>
    </message>
    <message id="threshold_title">
        <source>threshold_title</source>
        <extracomment>Heading of the threshold popover.</extracomment>
        <translation>Schwellwert für Text</translation>
    </message>
    <message id="threshold_hint">
        <source>threshold_hint</source>
        <extracomment>Explains the threshold slider.</extracomment>
        <translation>Nach rechts, wenn blasse Linien oder eine Unterschrift fehlen, nach links, wenn graue Flächen schwarz werden.</translation>
    </message>
    <message id="threshold_light">
        <source>threshold_light</source>
        <extracomment>Left end of the threshold slider.</extracomment>
        <translation>Hell</translation>
    </message>
    <message id="threshold_dark">
        <source>threshold_dark</source>
        <extracomment>Right end of the threshold slider.</extracomment>
        <translation>Dunkel</translation>
    </message>
    <message id="threshold_level">
        <source>threshold_level</source>
        <extracomment>Accessible description of the threshold slider; %1: the step, %2: the number of steps.</extracomment>
        <translation>Stufe %1 von %2</translation>
    </message>
</context>
</TS>
