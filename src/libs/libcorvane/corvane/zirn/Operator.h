#pragma once

#include <corvane/zirn/PermissionStore.h>

#include <QLatin1StringView>
#include <QSharedPointer>
#include <QString>

namespace corvane::zirn {

enum class OperatorType : qint32 {
    Steward = 0,   ///< a person
    Directive = 1, ///< an unattended caller, such as the command line
    Llm = 2,       ///< a language model: the only one that is asked for permissions
};

/// "steward", "directive", "llm", or "unknown" for a value of none of these.
QLatin1StringView operatorTypeWord(OperatorType type);

/// Who submitted a plan.
struct Operator
{
    OperatorType type = OperatorType::Steward;
    QString id{};
    QString displayName{};
    QSharedPointer<PermissionStore> permissions{}; ///< may be null: then everything is asked
};

} // namespace corvane::zirn
