#pragma once

#include <QMetaType>
#include <QString>

// The one error value of the system: what went wrong, where (domain) and, optionally, why.
class VMError
{
public:
    VMError() = default;
    VMError(const QString& domain, qint64 code, const QString& localizedDescription,
            const QString& localizedFailureReason = QString());

    bool isNull() const { return _domain.isNull() && _code == 0 && _localizedDescription.isNull(); }
    explicit operator bool() const { return !isNull(); }

    QString domain() const { return _domain; }
    qint64 code() const { return _code; }
    QString localizedDescription() const { return _localizedDescription; }
    QString localizedFailureReason() const { return _localizedFailureReason; }

    // What NSError's description prints: used where the system logs an error as it stands.
    QString description() const;

    bool operator==(const VMError& other) const = default;

private:
    QString _domain;
    qint64 _code = 0;
    QString _localizedDescription;
    QString _localizedFailureReason;
};

Q_DECLARE_METATYPE(VMError)
