<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <!-- Main window and send workflow -->
    <message id="help_newfax">
        <source>help_newfax</source>
        <extracomment>Help bubble shown when the fax window opens.</extracomment>
        <translation>Open a PDF document, drop one on this window, or print to “voxaria Faxolino” from any application. Then enter the recipients and click Send.</translation>
    </message>
    <message id="sendFax">
        <source>sendFax</source>
        <extracomment>Status while sending; %1: the current receiver's name, or the number as typed.</extracomment>
        <translation>Sending fax to %1…</translation>
    </message>
    <message id="receiver">
        <source>receiver</source>
        <extracomment>Toolbar label of the recipient field when no fax is being sent.</extracomment>
        <translation>Recipients</translation>
    </message>
    <message id="page">
        <source>page</source>
        <extracomment>Follows the page count when it is 1: "1 page".</extracomment>
        <translation>page</translation>
    </message>
    <message id="pages">
        <source>pages</source>
        <extracomment>Follows the page count when it is 2 or more: "3 pages".</extracomment>
        <translation>pages</translation>
    </message>
    <message id="fax_to">
        <source>fax_to</source>
        <extracomment>Notification title; %1: the receiver's fax number.</extracomment>
        <translation>Fax to %1</translation>
    </message>
    <message id="fax_succeeded_quit">
        <source>fax_succeeded_quit</source>
        <extracomment>Notification text when the program quits after a successful send.</extracomment>
        <translation>The fax was sent. Faxolino quits now.</translation>
    </message>
    <message id="fax_unavailable">
        <source>fax_unavailable</source>
        <extracomment>Balance line after a service error; followed by the error message in brackets.</extracomment>
        <translation>Fax service unavailable</translation>
    </message>
    <message id="clipboard">
        <source>clipboard</source>
        <extracomment>Menu item of a recipient; followed by a blank and the number found on the clipboard.</extracomment>
        <translation>Insert from clipboard:</translation>
    </message>
    <message id="plugin_error_header">
        <source>plugin_error_header</source>
        <extracomment>Alert when a printed document arrived unreadable.</extracomment>
        <translation>The printed document could not be read.</translation>
    </message>
    <message id="plugin_error_body">
        <source>plugin_error_body</source>
        <extracomment>Explanation of the alert "plugin_error_header"; its default button is "refresh".</extracomment>
        <translation>The printer “voxaria Faxolino” did not deliver a readable document. Reinstalling the printer usually fixes this.</translation>
    </message>
    <message id="refresh">
        <source>refresh</source>
        <extracomment>Button that reinstalls the printer "voxaria Faxolino".</extracomment>
        <translation>Reinstall</translation>
    </message>
    <message id="cancel">
        <source>cancel</source>
        <extracomment>Button that closes an alert without doing anything.</extracomment>
        <translation>Cancel</translation>
    </message>
    <message id="error_empty_document_title">
        <source>error_empty_document_title</source>
        <extracomment>Alert title when Send is clicked without a document.</extracomment>
        <translation>No document</translation>
    </message>
    <message id="error_empty_document">
        <source>error_empty_document</source>
        <extracomment>Alert text when Send is clicked without a document.</extracomment>
        <translation>Please open a PDF document or drop one on the window before sending.</translation>
    </message>
    <message id="error_empty_number">
        <source>error_empty_number</source>
        <extracomment>Alert text when Send is clicked without a recipient.</extracomment>
        <translation>Please enter at least one recipient.</translation>
    </message>
    <!-- Preferences -->
    <message id="service_installed">
        <source>service_installed</source>
        <extracomment>Preferences: state of the print-to-fax printer.</extracomment>
        <translation>The printer “voxaria Faxolino” is installed.</translation>
    </message>
    <message id="service_not_installed">
        <source>service_not_installed</source>
        <extracomment>Preferences: state of the print-to-fax printer.</extracomment>
        <translation>The printer “voxaria Faxolino” is not installed.</translation>
    </message>
    <message id="help_use_system">
        <source>help_use_system</source>
        <extracomment>Preferences: hint below the printer state.</extracomment>
        <translation>To fax a document from any application, print it to the printer “voxaria Faxolino”.</translation>
    </message>
    <message id="Install">
        <source>Install</source>
        <extracomment>Preferences: button that installs the printer.</extracomment>
        <translation>Install</translation>
    </message>
    <message id="Uninstall">
        <source>Uninstall</source>
        <extracomment>Preferences: button that removes the printer.</extracomment>
        <translation>Uninstall</translation>
    </message>
    <!-- Quit alert when the journal could not be saved -->
    <message id="Could not save changes while quitting. Quit anyway?">
        <source>Could not save changes while quitting. Quit anyway?</source>
        <translation>Could not save changes while quitting. Quit anyway?</translation>
    </message>
    <message id="Quitting now will lose any changes you have made since the last successful save">
        <source>Quitting now will lose any changes you have made since the last successful save</source>
        <translation>Quitting now will lose any changes you have made since the last successful save</translation>
    </message>
    <message id="Quit anyway">
        <source>Quit anyway</source>
        <translation>Quit anyway</translation>
    </message>
    <message id="Cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <!-- Help on status codes, keys built from the code as "0x%x", upper-cased (500 gives 0X1F4) -->
    <message id="0X191">
        <source>0X191</source>
        <extracomment>Title of the help for status code 401; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Authentication failed (401)</translation>
    </message>
    <message id="0X191_detail">
        <source>0X191_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 401.</extracomment>
        <translation>The fax service did not accept your user name or password. Please check your account in the preferences.</translation>
    </message>
    <message id="0X193">
        <source>0X193</source>
        <extracomment>Title of the help for status code 403; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Access denied (403)</translation>
    </message>
    <message id="0X193_detail">
        <source>0X193_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 403.</extracomment>
        <translation>Your account may not use this service or fax line. Please check the chosen fax line and your contract with voxaria.</translation>
    </message>
    <message id="0X194">
        <source>0X194</source>
        <extracomment>Title of the help for status code 404; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Not found (404)</translation>
    </message>
    <message id="0X194_detail">
        <source>0X194_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 404.</extracomment>
        <translation>The number could not be found. Please check the recipient's fax number.</translation>
    </message>
    <message id="0X198">
        <source>0X198</source>
        <extracomment>Title of the help for status code 408; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>No answer (408)</translation>
    </message>
    <message id="0X198_detail">
        <source>0X198_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 408.</extracomment>
        <translation>The recipient's fax machine did not answer in time. Please try again later.</translation>
    </message>
    <message id="0X1E0">
        <source>0X1E0</source>
        <extracomment>Title of the help for status code 480; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Temporarily unavailable (480)</translation>
    </message>
    <message id="0X1E0_detail">
        <source>0X1E0_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 480.</extracomment>
        <translation>The recipient cannot be reached at the moment. Please try again later.</translation>
    </message>
    <message id="0X1E6">
        <source>0X1E6</source>
        <extracomment>Title of the help for status code 486; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Busy (486)</translation>
    </message>
    <message id="0X1E6_detail">
        <source>0X1E6_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 486.</extracomment>
        <translation>The recipient's line is busy. Please try again in a few minutes.</translation>
    </message>
    <message id="0X1E7">
        <source>0X1E7</source>
        <extracomment>Title of the help for status code 487; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Cancelled (487)</translation>
    </message>
    <message id="0X1E7_detail">
        <source>0X1E7_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 487.</extracomment>
        <translation>The transmission was cancelled before the recipient answered.</translation>
    </message>
    <message id="0X1E8">
        <source>0X1E8</source>
        <extracomment>Title of the help for status code 488; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Not a fax machine (488)</translation>
    </message>
    <message id="0X1E8_detail">
        <source>0X1E8_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 488.</extracomment>
        <translation>The recipient's device did not accept the fax transmission. Please check that the number belongs to a fax machine.</translation>
    </message>
    <message id="0X1F4">
        <source>0X1F4</source>
        <extracomment>Title of the help for status code 500; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Fax service error (500)</translation>
    </message>
    <message id="0X1F4_detail">
        <source>0X1F4_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 500.</extracomment>
        <translation>The fax service ran into an internal problem and could not process the request. Please try again later. If the problem persists, please contact voxaria support.</translation>
    </message>
    <message id="0X1F7">
        <source>0X1F7</source>
        <extracomment>Title of the help for status code 503; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Service unavailable (503)</translation>
    </message>
    <message id="0X1F7_detail">
        <source>0X1F7_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 503.</extracomment>
        <translation>The fax service is temporarily unavailable, for example during maintenance. Please try again later.</translation>
    </message>
    <message id="0X25B">
        <source>0X25B</source>
        <extracomment>Title of the help for status code 603; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Declined (603)</translation>
    </message>
    <message id="0X25B_detail">
        <source>0X25B_detail</source>
        <extracomment>Explanation shown below the title of the help for status code 603.</extracomment>
        <translation>The recipient declined the call.</translation>
    </message>
    <message id="0XFFFFFFFF">
        <source>0XFFFFFFFF</source>
        <extracomment>Title of the help for status code -1; the key is the code in hexadecimal as "0x%x", upper-cased.</extracomment>
        <translation>Unreadable answer</translation>
    </message>
    <message id="0XFFFFFFFF_detail">
        <source>0XFFFFFFFF_detail</source>
        <extracomment>Explanation shown below the title of the help for status code -1.</extracomment>
        <translation>The fax service sent an answer that could not be read. Please try again later.</translation>
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
    <!-- Main window: toolbar, menus and panes -->
    <message id="toolbar">
        <source>toolbar</source>
        <translation>Main toolbar</translation>
    </message>
    <message id="toolbar_new_fax">
        <source>toolbar_new_fax</source>
        <translation>New Fax</translation>
    </message>
    <message id="toolbar_open">
        <source>toolbar_open</source>
        <translation>Open…</translation>
    </message>
    <message id="toolbar_add_pages">
        <source>toolbar_add_pages</source>
        <translation>Add Pages…</translation>
    </message>
    <message id="toolbar_delete_page">
        <source>toolbar_delete_page</source>
        <translation>Delete Page</translation>
    </message>
    <message id="toolbar_cover_sheet">
        <source>toolbar_cover_sheet</source>
        <translation>Cover Sheet</translation>
    </message>
    <message id="toolbar_document_type">
        <source>toolbar_document_type</source>
        <translation>Document Type</translation>
    </message>
    <message id="document_type_text">
        <source>document_type_text</source>
        <translation>Text</translation>
    </message>
    <message id="document_type_mixed">
        <source>document_type_mixed</source>
        <translation>Mixed</translation>
    </message>
    <message id="toolbar_send">
        <source>toolbar_send</source>
        <translation>Send</translation>
    </message>
    <message id="toolbar_reports">
        <source>toolbar_reports</source>
        <translation>Reports</translation>
    </message>
    <message id="toolbar_preferences">
        <source>toolbar_preferences</source>
        <translation>Preferences</translation>
    </message>
    <message id="menu_file">
        <source>menu_file</source>
        <translation>&amp;File</translation>
    </message>
    <message id="menu_edit">
        <source>menu_edit</source>
        <translation>&amp;Edit</translation>
    </message>
    <message id="menu_view">
        <source>menu_view</source>
        <translation>&amp;View</translation>
    </message>
    <message id="menu_quit">
        <source>menu_quit</source>
        <translation>&amp;Quit</translation>
    </message>
    <message id="menu_extended_toolbar">
        <source>menu_extended_toolbar</source>
        <translation>Show Toolbar Labels</translation>
    </message>
    <message id="sending_progress">
        <source>sending_progress</source>
        <translation>Sending progress</translation>
    </message>
    <message id="pages_grid">
        <source>pages_grid</source>
        <translation>Fax pages</translation>
    </message>
    <message id="preview">
        <source>preview</source>
        <translation>Preview of the fax pages</translation>
    </message>
    <message id="preparing_pages">
        <source>preparing_pages</source>
        <translation>Preparing the fax pages</translation>
    </message>
    <message id="account_not_configured">
        <source>account_not_configured</source>
        <translation>No voxaria account is set up yet</translation>
    </message>
    <message id="pdf_filter">
        <source>pdf_filter</source>
        <translation>PDF documents (*.pdf *.PDF)</translation>
    </message>
    <message id="thumbnail_page">
        <source>thumbnail_page</source>
        <translation>Page %1 of %2</translation>
    </message>
    <message id="notification_open">
        <source>notification_open</source>
        <translation>Open Report</translation>
    </message>
    <message id="cancel_remaining_receivers">
        <source>cancel_remaining_receivers</source>
        <translation>Let the current transmission finish and send to no further receiver</translation>
    </message>
    <message id="menu_undo">
        <source>menu_undo</source>
        <translation>&amp;Undo</translation>
    </message>
    <message id="menu_redo">
        <source>menu_redo</source>
        <translation>&amp;Redo</translation>
    </message>
    <message id="move_pages">
        <source>move_pages</source>
        <translation>Move Pages</translation>
    </message>
    <message id="status_help">
        <source>status_help</source>
        <translation>What does this mean?</translation>
    </message>
    <message id="error_invalid_receiver">
        <source>error_invalid_receiver</source>
        <extracomment>%1: the receiver as typed.</extracomment>
        <translation>“%1” is neither a fax number nor a name in your address book.</translation>
    </message>
    <!-- Preferences window -->
    <message id="preferences_toolbar">
        <source>preferences_toolbar</source>
        <extracomment>Name of the preferences window's toolbar, for assistive technology.</extracomment>
        <translation>Preferences pages</translation>
    </message>
    <message id="preferences_account">
        <source>preferences_account</source>
        <extracomment>Preferences: toolbar item of the account page.</extracomment>
        <translation>Account</translation>
    </message>
    <message id="preferences_system">
        <source>preferences_system</source>
        <extracomment>Preferences: toolbar item of the page with the printer, the reports and the address book.</extracomment>
        <translation>System</translation>
    </message>
    <message id="preferences_username">
        <source>preferences_username</source>
        <extracomment>Preferences: label of the provider account's user name; &amp; marks the access key.</extracomment>
        <translation>&amp;User name:</translation>
    </message>
    <message id="preferences_password">
        <source>preferences_password</source>
        <extracomment>Preferences: label of the provider account's password.</extracomment>
        <translation>&amp;Password:</translation>
    </message>
    <message id="preferences_account_state">
        <source>preferences_account_state</source>
        <extracomment>Preferences: label of the line that shows the balance or why the account could not be checked.</extracomment>
        <translation>Status:</translation>
    </message>
    <message id="preferences_checking">
        <source>preferences_checking</source>
        <extracomment>Preferences: accessible name of the busy indicator while the account is checked.</extracomment>
        <translation>Checking the account…</translation>
    </message>
    <message id="preferences_fax_line">
        <source>preferences_fax_line</source>
        <extracomment>Preferences: label of the list of the account's fax numbers.</extracomment>
        <translation>Send from &amp;fax line:</translation>
    </message>
    <message id="preferences_page_header">
        <source>preferences_page_header</source>
        <extracomment>Preferences: group of the fields printed at the top of every fax page.</extracomment>
        <translation>Page header</translation>
    </message>
    <message id="preferences_fax_id">
        <source>preferences_fax_id</source>
        <extracomment>Preferences: label of the fax identification (the sender's number shown to the receiver).</extracomment>
        <translation>Fax &amp;identification:</translation>
    </message>
    <message id="preferences_fax_header">
        <source>preferences_fax_header</source>
        <extracomment>Preferences: label of the free text at the top of every fax page.</extracomment>
        <translation>&amp;Header text:</translation>
    </message>
    <message id="preferences_fax_id_placeholder">
        <source>preferences_fax_id_placeholder</source>
        <extracomment>Preferences: example shown in the empty fax identification field.</extracomment>
        <translation>e.g. +49 211 55500199</translation>
    </message>
    <message id="preferences_fax_header_placeholder">
        <source>preferences_fax_header_placeholder</source>
        <extracomment>Preferences: example shown in the empty header text field.</extracomment>
        <translation>e.g. your name or company</translation>
    </message>
    <message id="preferences_help_account">
        <source>preferences_help_account</source>
        <extracomment>Preferences: tooltip of the help button on the account page.</extracomment>
        <translation>Help on the account and the fax line</translation>
    </message>
    <message id="preferences_help_printer">
        <source>preferences_help_printer</source>
        <extracomment>Preferences: tooltip of the help button of the printer.</extracomment>
        <translation>Help on printing to fax</translation>
    </message>
    <message id="preferences_help_reports">
        <source>preferences_help_reports</source>
        <extracomment>Preferences: tooltip of the help button of the reports.</extracomment>
        <translation>Help on transmission reports</translation>
    </message>
    <message id="keychain_unavailable">
        <source>keychain_unavailable</source>
        <extracomment>Preferences: balance line when the keyring cannot be read (e.g. locked); followed by the keyring's message in brackets.</extracomment>
        <translation>The password could not be read from the keyring</translation>
    </message>
    <message id="keychain_store_failed">
        <source>keychain_store_failed</source>
        <extracomment>Preferences: balance line when the keyring does not accept the password; followed by the keyring's message in brackets.</extracomment>
        <translation>The password could not be stored in the keyring</translation>
    </message>
    <message id="preferences_printer">
        <source>preferences_printer</source>
        <extracomment>Preferences: group of the print-to-fax printer.</extracomment>
        <translation>Printer</translation>
    </message>
    <message id="preferences_copy_command">
        <source>preferences_copy_command</source>
        <extracomment>Preferences: button that copies the administrator's command for the printer.</extracomment>
        <translation>&amp;Copy Command</translation>
    </message>
    <message id="preferences_reports">
        <source>preferences_reports</source>
        <extracomment>Preferences: group of the transmission report settings.</extracomment>
        <translation>Transmission reports</translation>
    </message>
    <message id="preferences_report_folder">
        <source>preferences_report_folder</source>
        <extracomment>Preferences: label of the folder in which transmission reports are stored.</extracomment>
        <translation>Report &amp;folder:</translation>
    </message>
    <message id="preferences_choose">
        <source>preferences_choose</source>
        <extracomment>Preferences: button that opens the folder chooser for the reports.</extracomment>
        <translation>C&amp;hoose…</translation>
    </message>
    <message id="preferences_choose_report_folder">
        <source>preferences_choose_report_folder</source>
        <extracomment>Title of the folder chooser for the reports.</extracomment>
        <translation>Choose the folder for transmission reports</translation>
    </message>
    <message id="preferences_save_send_document">
        <source>preferences_save_send_document</source>
        <extracomment>Preferences: check box; keeps a copy of the sent pages with each report.</extracomment>
        <translation>&amp;Keep the sent pages with each report</translation>
    </message>
    <message id="preferences_quit_on_success">
        <source>preferences_quit_on_success</source>
        <extracomment>Preferences: check box; the program quits after a fax was sent successfully.</extracomment>
        <translation>&amp;Quit after a fax was sent successfully</translation>
    </message>
    <message id="preferences_vcards">
        <source>preferences_vcards</source>
        <extracomment>Preferences: group and list of the vCard files and folders searched for recipients.</extracomment>
        <translation>Address book: vCard files</translation>
    </message>
    <message id="preferences_vcards_hint">
        <source>preferences_vcards_hint</source>
        <extracomment>Preferences: explanation above the list of vCard files.</extracomment>
        <translation>Besides the desktop's address book, recipients are searched in these vCard files and folders.</translation>
    </message>
    <message id="preferences_add_vcard_file">
        <source>preferences_add_vcard_file</source>
        <extracomment>Preferences: button that adds vCard files.</extracomment>
        <translation>Add Fi&amp;le…</translation>
    </message>
    <message id="preferences_add_vcard_folder">
        <source>preferences_add_vcard_folder</source>
        <extracomment>Preferences: button that adds a folder of vCard files.</extracomment>
        <translation>Add Fol&amp;der…</translation>
    </message>
    <message id="preferences_remove_vcard">
        <source>preferences_remove_vcard</source>
        <extracomment>Preferences: button that removes the selected vCard sources.</extracomment>
        <translation>&amp;Remove</translation>
    </message>
    <message id="preferences_vcard_filter">
        <source>preferences_vcard_filter</source>
        <extracomment>File chooser filter for vCard files.</extracomment>
        <translation>vCard files (*.vcf *.vcard)</translation>
    </message>
    <message id="preferences_choose_vcard_file">
        <source>preferences_choose_vcard_file</source>
        <extracomment>Title of the chooser for vCard files.</extracomment>
        <translation>Add vCard files</translation>
    </message>
    <message id="preferences_choose_vcard_folder">
        <source>preferences_choose_vcard_folder</source>
        <extracomment>Title of the chooser for a folder of vCard files.</extracomment>
        <translation>Add a folder of vCard files</translation>
    </message>
    <!-- Report window -->
    <message id="report_window_title">
        <source>report_window_title</source>
        <extracomment>Title of the report window.</extracomment>
        <translation>Transmission Reports</translation>
    </message>
    <message id="report_column_date">
        <source>report_column_date</source>
        <extracomment>Report list column: when the fax was sent.</extracomment>
        <translation>Date</translation>
    </message>
    <message id="report_column_number">
        <source>report_column_number</source>
        <extracomment>Report list column: the receiver's number.</extracomment>
        <translation>Number</translation>
    </message>
    <message id="report_column_name">
        <source>report_column_name</source>
        <extracomment>Report list column: the receiver's name from the address book.</extracomment>
        <translation>Name</translation>
    </message>
    <message id="report_column_pages">
        <source>report_column_pages</source>
        <extracomment>Report list column: the page count.</extracomment>
        <translation>Pages</translation>
    </message>
    <message id="report_column_state">
        <source>report_column_state</source>
        <extracomment>Report list column: sent, failed or still open.</extracomment>
        <translation>State</translation>
    </message>
    <message id="report_state_sent">
        <source>report_state_sent</source>
        <extracomment>State of a fax that reached its receiver.</extracomment>
        <translation>Sent</translation>
    </message>
    <message id="report_state_open">
        <source>report_state_open</source>
        <extracomment>State of a fax whose outcome is not known yet.</extracomment>
        <translation>Pending</translation>
    </message>
    <message id="report_state_failed">
        <source>report_state_failed</source>
        <extracomment>State of a failed fax; %1: the text of the provider's status code.</extracomment>
        <translation>Failed: %1</translation>
    </message>
    <message id="report_state_failed_code">
        <source>report_state_failed_code</source>
        <extracomment>State of a failed fax whose status code has no text; %1: the code.</extracomment>
        <translation>Failed (code %1)</translation>
    </message>
    <message id="report_actions">
        <source>report_actions</source>
        <extracomment>Accessible name of the report window's action buttons.</extracomment>
        <translation>Report actions</translation>
    </message>
    <message id="report_open">
        <source>report_open</source>
        <extracomment>Opens the selected report in the default PDF viewer.</extracomment>
        <translation>Open</translation>
    </message>
    <message id="report_reveal">
        <source>report_reveal</source>
        <extracomment>Shows the report file in the file manager.</extracomment>
        <translation>Show in Folder</translation>
    </message>
    <message id="report_delete">
        <source>report_delete</source>
        <extracomment>Deletes the report file and its journal entry.</extracomment>
        <translation>Delete</translation>
    </message>
    <message id="report_export">
        <source>report_export</source>
        <extracomment>Copies the report file into a chosen folder.</extracomment>
        <translation>Export…</translation>
    </message>
    <message id="report_export_title">
        <source>report_export_title</source>
        <extracomment>Title of the folder chooser for exporting a report.</extracomment>
        <translation>Export Report To</translation>
    </message>
    <message id="report_send_again">
        <source>report_send_again</source>
        <extracomment>Starts a new fax with the pages and the number of the chosen fax.</extracomment>
        <translation>Send Again</translation>
    </message>
    <message id="send_again_tooltip">
        <source>send_again_tooltip</source>
        <extracomment>Tooltip of Send Again when it is available.</extracomment>
        <translation>Send these pages to this number again</translation>
    </message>
    <message id="send_again_no_fax">
        <source>send_again_no_fax</source>
        <extracomment>Tooltip of Send Again when no fax is selected.</extracomment>
        <translation>Select a fax to send it again.</translation>
    </message>
    <message id="send_again_no_report">
        <source>send_again_no_report</source>
        <extracomment>Tooltip of Send Again when the report file is gone.</extracomment>
        <translation>The report file of this fax is missing, and with it the sent pages.</translation>
    </message>
    <message id="send_again_no_pages">
        <source>send_again_no_pages</source>
        <extracomment>Tooltip of Send Again when only the report was kept.</extracomment>
        <translation>Only the report was kept for this fax, not the sent pages. Keep sent documents with their reports in the preferences to send later faxes again.</translation>
    </message>
    <message id="report_search">
        <source>report_search</source>
        <extracomment>Placeholder and accessible name of the report search field.</extracomment>
        <translation>Search number or date</translation>
    </message>
    <message id="report_list">
        <source>report_list</source>
        <extracomment>Accessible name of the list of sent faxes.</extracomment>
        <translation>Sent faxes</translation>
    </message>
    <message id="report_view">
        <source>report_view</source>
        <extracomment>Accessible name of the report preview.</extracomment>
        <translation>Transmission report</translation>
    </message>
    <message id="report_none_selected">
        <source>report_none_selected</source>
        <extracomment>Shown in place of a report when no fax is selected.</extracomment>
        <translation>Select a fax to see its transmission report.</translation>
    </message>
    <message id="report_no_faxes">
        <source>report_no_faxes</source>
        <extracomment>Shown in place of a report when the journal is empty.</extracomment>
        <translation>No faxes have been sent yet.</translation>
    </message>
    <message id="report_no_match">
        <source>report_no_match</source>
        <extracomment>Shown when the search finds no fax; %1: the search text.</extracomment>
        <translation>No fax matches “%1”.</translation>
    </message>
    <message id="report_missing">
        <source>report_missing</source>
        <extracomment>Shown in place of a report whose file is gone; %1: its path.</extracomment>
        <translation>The report file is missing:
%1</translation>
    </message>
    <message id="report_unreadable">
        <source>report_unreadable</source>
        <extracomment>Shown in place of a report that cannot be read; %1: its path.</extracomment>
        <translation>The report file cannot be read:
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
        <translation>Cover Sheet</translation>
    </message>
    <message id="cover_field_to">
        <source>cover_field_to</source>
        <extracomment>Form caption of the recipient lines on the cover sheet; &amp; marks the access key.</extracomment>
        <translation>&amp;To:</translation>
    </message>
    <message id="cover_field_from">
        <source>cover_field_from</source>
        <extracomment>Form caption of the sender lines on the cover sheet.</extracomment>
        <translation>&amp;From:</translation>
    </message>
    <message id="cover_field_subject">
        <source>cover_field_subject</source>
        <extracomment>Form caption of the cover sheet's subject.</extracomment>
        <translation>&amp;Subject:</translation>
    </message>
    <message id="cover_field_message">
        <source>cover_field_message</source>
        <extracomment>Form caption of the cover sheet's free text.</extracomment>
        <translation>&amp;Message:</translation>
    </message>
    <message id="cover_field_to_name">
        <source>cover_field_to_name</source>
        <extracomment>Accessible name of the recipient field of the cover sheet.</extracomment>
        <translation>To</translation>
    </message>
    <message id="cover_field_from_name">
        <source>cover_field_from_name</source>
        <extracomment>Accessible name of the sender field of the cover sheet.</extracomment>
        <translation>From</translation>
    </message>
    <message id="cover_field_subject_name">
        <source>cover_field_subject_name</source>
        <extracomment>Accessible name of the subject field of the cover sheet.</extracomment>
        <translation>Subject</translation>
    </message>
    <message id="cover_field_message_name">
        <source>cover_field_message_name</source>
        <extracomment>Accessible name of the free text of the cover sheet.</extracomment>
        <translation>Message</translation>
    </message>
    <message id="cover_message_placeholder">
        <source>cover_message_placeholder</source>
        <extracomment>Shown in the empty free text of the cover sheet.</extracomment>
        <translation>A few words for the recipient</translation>
    </message>
    <message id="cover_format">
        <source>cover_format</source>
        <extracomment>Accessible name of the text formatting buttons.</extracomment>
        <translation>Text format</translation>
    </message>
    <message id="cover_bold">
        <source>cover_bold</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Bold</translation>
    </message>
    <message id="cover_italic">
        <source>cover_italic</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Italic</translation>
    </message>
    <message id="cover_underline">
        <source>cover_underline</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Underline</translation>
    </message>
    <message id="cover_list">
        <source>cover_list</source>
        <extracomment>Formatting button.</extracomment>
        <translation>Bulleted List</translation>
    </message>
    <message id="cover_automatic_note">
        <source>cover_automatic_note</source>
        <extracomment>Below the cover sheet form.</extracomment>
        <translation>Today's date and your fax line are added to the page. To and From hold up to three lines each.</translation>
    </message>
    <message id="cover_preview">
        <source>cover_preview</source>
        <extracomment>Caption and accessible name of the cover sheet preview.</extracomment>
        <translation>Preview</translation>
    </message>
    <message id="cover_scale">
        <source>cover_scale</source>
        <extracomment>Accessible name of the preview's size menu.</extracomment>
        <translation>Preview size</translation>
    </message>
    <message id="cover_scale_whole_page">
        <source>cover_scale_whole_page</source>
        <extracomment>Preview size: the whole page fitted to the window.</extracomment>
        <translation>Whole Page</translation>
    </message>
    <message id="cover_scale_three_quarters">
        <source>cover_scale_three_quarters</source>
        <extracomment>Preview size: three quarters of the whole page.</extracomment>
        <translation>75 %</translation>
    </message>
    <message id="cover_use">
        <source>cover_use</source>
        <extracomment>Check box of the cover sheet window.</extracomment>
        <translation>Put this cover sheet in front of the fax</translation>
    </message>
    <message id="threshold_title">
        <source>threshold_title</source>
        <extracomment>Heading of the threshold popover.</extracomment>
        <translation>Threshold for Text</translation>
    </message>
    <message id="threshold_hint">
        <source>threshold_hint</source>
        <extracomment>Explains the threshold slider.</extracomment>
        <translation>Move right when faint lines or a signature go missing, left when grey areas turn black.</translation>
    </message>
    <message id="threshold_light">
        <source>threshold_light</source>
        <extracomment>Left end of the threshold slider.</extracomment>
        <translation>Light</translation>
    </message>
    <message id="threshold_dark">
        <source>threshold_dark</source>
        <extracomment>Right end of the threshold slider.</extracomment>
        <translation>Dark</translation>
    </message>
    <message id="threshold_level">
        <source>threshold_level</source>
        <extracomment>Accessible description of the threshold slider; %1: the step, %2: the number of steps.</extracomment>
        <translation>Step %1 of %2</translation>
    </message>
</context>
</TS>
