#pragma once

#include <QString>

// An error with a domain and a numeric code, as the service layer and the credential
// store report them. A default-constructed error means "no error".
struct FXError
{
    QString domain;
    qint64 code = 0;
    QString description;

    bool isNull() const { return domain.isEmpty() && code == 0; }
    explicit operator bool() const { return !isNull(); }
};
