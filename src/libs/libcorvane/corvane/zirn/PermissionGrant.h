#pragma once

#include <QDateTime>
#include <QString>

namespace corvane::zirn {

enum class GrantLifetime : qint32 {
    Persistent = 0,
    Session = 1, ///< gone with the session of the language model
    Timed = 2,   ///< until PermissionGrant::expiresAt
};

/// A person's answer about a scope, kept.
struct PermissionGrant
{
    QString scope{}; ///< exact, or a pattern that ends in ".*"
    GrantLifetime lifetime = GrantLifetime::Persistent;
    bool allowed = true;   ///< false is an explicit denial
    QDateTime expiresAt{}; ///< of a timed grant; without it such a grant never holds
    QDateTime grantedAt{};

    /// Whether the grant still counts at a moment.
    bool isValid(const QDateTime &now) const;

    /// Equal text, or under the pattern by exactly one level: "corvane.*" covers "corvane.read",
    /// but not "corvane.scene.read" and not "corvane".
    bool matches(const QString &askedScope) const;

    bool operator==(const PermissionGrant &) const = default;
};

} // namespace corvane::zirn
