-- Schema version 1 to 2. Version 1 kept dates as seconds since 2001-01-01 00:00 UTC,
-- marked open connections with an empty reason, had no subject or size, and did not
-- delete connections with their fax. SQLite cannot change a foreign key in place, so both
-- tables are rebuilt; connections whose fax is gone are dropped on the way.

CREATE TABLE FaxV2 (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    algorithm INTEGER,
    coverSheet INTEGER,
    date INTEGER,
    file TEXT,
    fileURL BLOB,
    number TEXT,
    contact TEXT,
    line TEXT,
    subject TEXT,
    pages INTEGER
);

INSERT INTO FaxV2 (id, algorithm, coverSheet, date, file, fileURL, number, contact, line,
                   subject, pages)
    SELECT id, algorithm, coverSheet, CAST(round((date + 978307200) * 1000) AS INTEGER),
           file, fileURL, number, contact, line, NULL, pages
    FROM Fax;

CREATE TABLE ConnectionV2 (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    fax INTEGER NOT NULL REFERENCES Fax(id) ON DELETE CASCADE,
    beginDate INTEGER,
    finishDate INTEGER,
    pages INTEGER,
    reason TEXT,
    size INTEGER,
    pageRange TEXT,
    sessionID TEXT
);

INSERT INTO ConnectionV2 (id, fax, beginDate, finishDate, pages, reason, size, pageRange,
                          sessionID)
    SELECT id, fax, CAST(round((beginDate + 978307200) * 1000) AS INTEGER),
           CAST(round((finishDate + 978307200) * 1000) AS INTEGER), pages,
           NULLIF(reason, ''), NULL, pageRange, sessionID
    FROM Connection
    WHERE fax IN (SELECT id FROM Fax);

DROP TABLE Connection;
DROP TABLE Fax;
ALTER TABLE FaxV2 RENAME TO Fax;
ALTER TABLE ConnectionV2 RENAME TO Connection;

CREATE INDEX FaxByDate ON Fax(date);
CREATE INDEX ConnectionByFax ON Connection(fax);
CREATE INDEX ConnectionBySessionID ON Connection(sessionID);
CREATE INDEX OpenConnectionByBeginDate ON Connection(beginDate) WHERE reason IS NULL;
