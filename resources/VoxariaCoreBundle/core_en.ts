<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <!-- Fax job progress titles -->
    <message id="fax_trasmit_queued">
        <source>fax_trasmit_queued</source>
        <extracomment>Progress title while the fax waits at the provider for its turn.</extracomment>
        <translation>Fax queued for sending</translation>
    </message>
    <message id="fax_trasmit_data">
        <source>fax_trasmit_data</source>
        <extracomment>Progress title while the provider transmits the fax.</extracomment>
        <translation>Transmitting fax…</translation>
    </message>
    <message id="fax_succeeded">
        <source>fax_succeeded</source>
        <extracomment>Progress title when the receiver got the fax.</extracomment>
        <translation>Fax sent successfully</translation>
    </message>
    <message id="fax_failed">
        <source>fax_failed</source>
        <extracomment>Progress title when the transmission failed.</extracomment>
        <translation>Fax could not be sent</translation>
    </message>
    <message id="error_auth">
        <source>error_auth</source>
        <extracomment>The provider rejected the user name or password (HTTP 401).</extracomment>
        <translation>Authentication failed. Please check your user name and password.</translation>
    </message>
    <!-- Transmission report -->
    <message id="successfully">
        <source>successfully</source>
        <extracomment>Transmission report: state of the fax and of one attempt that succeeded.</extracomment>
        <translation>Sent successfully</translation>
    </message>
    <message id="failed">
        <source>failed</source>
        <extracomment>Transmission report: state of a fax with at least one failed attempt.</extracomment>
        <translation>Failed</translation>
    </message>
    <message id="error">
        <source>error</source>
        <extracomment>Title of error messages; in the report followed by " Code: " and the provider's status code.</extracomment>
        <translation>Error</translation>
    </message>
    <!-- Account -->
    <message id="current_balance">
        <source>current_balance</source>
        <extracomment>Followed by ": ", the amount and the currency.</extracomment>
        <translation>Current balance</translation>
    </message>
    <message id="error_no_faxuri">
        <source>error_no_faxuri</source>
        <extracomment>The account's list of own numbers holds no fax line.</extracomment>
        <translation>Your account has no fax line. Please set up a fax line with voxaria first.</translation>
    </message>
    <!-- XML-RPC codec errors -->
    <message id="Your site ran out of memory while processing this request">
        <source>Your site ran out of memory while processing this request</source>
        <extracomment>XML-RPC: the server's answer reports that it ran out of memory.</extracomment>
        <translation>Your site ran out of memory while processing this request</translation>
    </message>
    <message id="The data doesn't look like a valid XML-RPC Fault response">
        <source>The data doesn't look like a valid XML-RPC Fault response</source>
        <extracomment>XML-RPC: a fault answer without a fault code.</extracomment>
        <translation>The data doesn't look like a valid XML-RPC Fault response</translation>
    </message>
    <message id="The data doesn't look like a valid XML-RPC response">
        <source>The data doesn't look like a valid XML-RPC response</source>
        <extracomment>XML-RPC: an answer that could not be parsed.</extracomment>
        <translation>The data doesn't look like a valid XML-RPC response</translation>
    </message>
    <!-- Journal store -->
    <message id="Expected a folder to store application data, found a file (%@).">
        <source>Expected a folder to store application data, found a file (%@).</source>
        <extracomment>%1: the path where the data folder should be.</extracomment>
        <translation>Expected a folder to store application data, found a file (%1).</translation>
    </message>
    <message id="Failed to initialize the store">
        <source>Failed to initialize the store</source>
        <extracomment>The journal could not be opened.</extracomment>
        <translation>Failed to initialize the store</translation>
    </message>
    <message id="There was an error building up the data file.">
        <source>There was an error building up the data file.</source>
        <extracomment>Reason given with "Failed to initialize the store".</extracomment>
        <translation>There was an error building up the data file.</translation>
    </message>
    <!-- Phone book labels, shown in brackets after a name: Anna Klipleik (mobile) -->
    <message id="phone">
        <source>phone</source>
        <extracomment>Label of a number typed by hand, not from the address book.</extracomment>
        <translation>phone</translation>
    </message>
    <message id="iphone">
        <source>iphone</source>
        <extracomment>Address book label of a phone number (Apple's "iPhone" type).</extracomment>
        <translation>iPhone</translation>
    </message>
    <message id="mobile">
        <source>mobile</source>
        <extracomment>Address book label of a phone number (vCard TEL type CELL).</extracomment>
        <translation>mobile</translation>
    </message>
    <message id="home">
        <source>home</source>
        <extracomment>Address book label of a phone number (vCard TEL type HOME).</extracomment>
        <translation>home</translation>
    </message>
    <message id="work">
        <source>work</source>
        <extracomment>Address book label of a phone number (vCard TEL type WORK).</extracomment>
        <translation>work</translation>
    </message>
    <message id="main">
        <source>main</source>
        <extracomment>Address book label of a phone number (main or preferred number).</extracomment>
        <translation>main</translation>
    </message>
    <message id="other">
        <source>other</source>
        <extracomment>Address book label of a phone number without a more specific type.</extracomment>
        <translation>other</translation>
    </message>
    <message id="fax">
        <source>fax</source>
        <extracomment>Address book label of a fax number (vCard TEL type FAX).</extracomment>
        <translation>fax</translation>
    </message>
    <message id="home_fax">
        <source>home_fax</source>
        <extracomment>Address book label of a private fax number.</extracomment>
        <translation>home fax</translation>
    </message>
    <message id="work_fax">
        <source>work_fax</source>
        <extracomment>Address book label of a business fax number.</extracomment>
        <translation>work fax</translation>
    </message>
    <message id="other_fax">
        <source>other_fax</source>
        <extracomment>Address book label of any other fax number.</extracomment>
        <translation>other fax</translation>
    </message>
    <message id="pager">
        <source>pager</source>
        <extracomment>Address book label of a pager number.</extracomment>
        <translation>pager</translation>
    </message>
    <message id="car">
        <source>car</source>
        <extracomment>Address book label of a car phone.</extracomment>
        <translation>car</translation>
    </message>
    <message id="voice">
        <source>voice</source>
        <extracomment>Address book label of a voice line (vCard TEL type VOICE).</extracomment>
        <translation>voice</translation>
    </message>
    <message id="video">
        <source>video</source>
        <extracomment>Address book label of a video phone.</extracomment>
        <translation>video</translation>
    </message>
    <message id="textphone">
        <source>textphone</source>
        <extracomment>Address book label of a text phone for the deaf (TTY/TDD).</extracomment>
        <translation>text phone</translation>
    </message>
    <message id="isdn">
        <source>isdn</source>
        <extracomment>Address book label of an ISDN line.</extracomment>
        <translation>ISDN</translation>
    </message>
    <message id="assistant">
        <source>assistant</source>
        <extracomment>Address book label of an assistant's number.</extracomment>
        <translation>assistant</translation>
    </message>
    <message id="callback">
        <source>callback</source>
        <extracomment>Address book label of a callback number.</extracomment>
        <translation>callback</translation>
    </message>
    <message id="company">
        <source>company</source>
        <extracomment>Address book label of a company's switchboard number.</extracomment>
        <translation>company</translation>
    </message>
    <message id="radio">
        <source>radio</source>
        <extracomment>Address book label of a radio telephone.</extracomment>
        <translation>radio</translation>
    </message>
    <message id="telex">
        <source>telex</source>
        <extracomment>Address book label of a telex number.</extracomment>
        <translation>telex</translation>
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
        <translation>To</translation>
    </message>
    <message id="cover_from">
        <source>cover_from</source>
        <extracomment>Cover page caption of the sender.</extracomment>
        <translation>From</translation>
    </message>
    <message id="cover_fax_line">
        <source>cover_fax_line</source>
        <extracomment>Cover page caption of the sender's fax number.</extracomment>
        <translation>Fax line</translation>
    </message>
    <message id="cover_subject">
        <source>cover_subject</source>
        <extracomment>Cover page caption of the subject.</extracomment>
        <translation>Subject</translation>
    </message>
    <message id="cover_date">
        <source>cover_date</source>
        <extracomment>Cover page caption of the date.</extracomment>
        <translation>Date</translation>
    </message>
    <message id="cover_pages">
        <source>cover_pages</source>
        <extracomment>Cover page caption of the page count, the cover included.</extracomment>
        <translation>Pages</translation>
    </message>
</context>
</TS>
