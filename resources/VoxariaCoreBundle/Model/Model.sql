-- The fax journal: one Fax per document sent to one number, one Connection per
-- transmission attempt (provider session) of it.
--
-- Dates are milliseconds since 1970-01-01 00:00 UTC. Absent values are NULL; a Connection
-- whose reason is NULL is still open. Executed in one transaction on an empty store; the
-- user_version at the end is the schema version the program expects.

CREATE TABLE Fax (
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

-- The report list, newest first.
CREATE INDEX FaxByDate ON Fax(date);

CREATE TABLE Connection (
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

CREATE INDEX ConnectionByFax ON Connection(fax);
CREATE INDEX ConnectionBySessionID ON Connection(sessionID);
-- The session poller asks for open connections, earliest first, every minute.
CREATE INDEX OpenConnectionByBeginDate ON Connection(beginDate) WHERE reason IS NULL;

PRAGMA user_version = 2;
