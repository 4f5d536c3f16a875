// What stores say in tests.
#pragma once

#include <QLoggingCategory>
#include <QRegularExpression>

/// Keeps the log silent where a loop warns or not, as it comes.
struct Quiet
{
    Quiet() { QLoggingCategory::setFilterRules(QStringLiteral("ondrel.store.*=false")); }
    ~Quiet() { QLoggingCategory::setFilterRules(QString()); }
};

inline QRegularExpression warning(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption);
}
