-- A journal as the first release wrote it (schema version 1): dates in seconds since
-- 2001-01-01 00:00 UTC, an empty reason for an open connection, no subject or size, and no
-- cascading delete. make-store-v1.py turns this into Faxon-v1.sqlite.
CREATE TABLE Fax (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    algorithm INTEGER,
    coverSheet INTEGER,
    date REAL,
    file TEXT,
    fileURL BLOB,
    number TEXT,
    contact TEXT,
    line TEXT,
    pages INTEGER
);
CREATE TABLE Connection (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    fax INTEGER REFERENCES Fax(id),
    beginDate REAL,
    finishDate REAL,
    pages INTEGER,
    reason TEXT,
    pageRange TEXT,
    sessionID TEXT
);

-- 2025-03-01 15:05:00 UTC, sent on the second attempt.
INSERT INTO Fax VALUES (1, 0, 1, 762534300.0, '2025-03-01_16-05-00-+49301234567.pdf',
                        CAST('/home/anna/Faxe' AS BLOB), '+49301234567', '42', '4930999', 3);
INSERT INTO Connection VALUES (1, 1, 762534300.25, 762534361.5, 3, '486', '1-3', 'S-1');
INSERT INTO Connection VALUES (2, 1, 762534400.0, 762534465.0, 3, '0', '1-3', 'S-2');

-- 2025-03-02 08:00:00 UTC, still open.
INSERT INTO Fax VALUES (2, 1, 0, 762595200.0, '2025-03-02_09-00-00-+4940555.pdf', NULL,
                        '+4940555', '', NULL, 1);
INSERT INTO Connection VALUES (3, 2, 762595201.0, NULL, 1, '', '1', 'S-3');

-- A fax that never got a connection, and one that was deleted (id 4), leaving a connection
-- behind.
INSERT INTO Fax VALUES (3, 0, 0, 762600000.0, '2025-03-02_10-20-00-+3312345.pdf', NULL,
                        '+3312345', NULL, NULL, 2);
INSERT INTO Fax VALUES (4, 0, 0, 762600100.0, 'gone.pdf', NULL, '+3399999', NULL, NULL, 1);
INSERT INTO Connection VALUES (4, 4, 762600101.0, 762600130.0, 1, '0', '1', 'S-4');
DELETE FROM Fax WHERE id = 4;

PRAGMA user_version = 1;
