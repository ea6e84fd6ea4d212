#pragma once

#include "journal/Connection.h"

#include <QString>

// A running job's claim on the journal connection it follows. The poller, of this process or
// another, leaves a claimed connection alone, so that it never closes a transmission that a
// job is still following. The claim is a lock (flock) on a file named after the connection in
// "Claims" in the application support folder: the system releases it when the process ends,
// however it ends.
class FXConnectionClaim
{
public:
    FXConnectionClaim() = default;
    ~FXConnectionClaim() { release(); }
    FXConnectionClaim(const FXConnectionClaim &) = delete;
    FXConnectionClaim &operator=(const FXConnectionClaim &) = delete;

    // Claims a saved connection, giving up an earlier claim. False when it cannot be claimed
    // (not saved yet, no support folder, claimed by somebody else).
    bool claim(const Connection &connection);
    void release();

    // Whether a job anywhere holds a claim on the connection.
    static bool isClaimed(const Connection &connection);

private:
    int m_fd = -1;
    QString m_path;
};
