#include "VMError.h"

VMError::VMError(const QString& domain, qint64 code, const QString& localizedDescription,
                 const QString& localizedFailureReason)
    : _domain(domain), _code(code), _localizedDescription(localizedDescription),
      _localizedFailureReason(localizedFailureReason)
{}

QString VMError::description() const
{
    QString text = QStringLiteral("Error Domain=%1 Code=%2 \"%3\"").arg(_domain).arg(_code).arg(_localizedDescription);
    if (!_localizedFailureReason.isEmpty())
        text += QStringLiteral(" UserInfo={NSLocalizedFailureReason=%1}").arg(_localizedFailureReason);
    return text;
}
