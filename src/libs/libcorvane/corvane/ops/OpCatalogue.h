#pragma once

#include <corvane/ops/CorvaneOp.h>
#include <corvane/ops/OpChange.h>

#include <QStringView>

#include <array>
#include <span>

namespace corvane::ops {

class OpCall;
struct OpContext;

/// What an argument must be.
enum class ArgType {
    Id,     ///< a uuid, as such or as text
    Text,   ///< not empty where it is required
    Name,   ///< the same, and one that can be a key of the scene's file; dots stand between keys
    Number, ///< finite
    Flag,
    List,
    Map,
    FilledMap, ///< with something in it
    Value,     ///< anything
};

struct ArgKey
{
    QLatin1StringView name{};
    ArgType type = ArgType::Value;
    bool isRequired = false;
};

/// One kind of op: its arguments, its texts, and what does it.
struct OpEntry
{
    using Apply = OpOutcome (*)(OpContext &, const OpCall &);
    using Restore = void (*)(OpContext &, const QUuid &itemId, const QVariantMap &state);

    QLatin1StringView kind{};
    std::array<ArgKey, 11> keys{};
    QLatin1StringView missing{}; ///< what is said when a required argument isn't there
    QStringView undoText{};      ///< holes for OpChange::textArgs; empty: what the describer says
    /// The line for the user before it is done, with a hole for each key of `describeKeys`; the
    /// short one is taken when not all are given.
    QStringView description{};
    QStringView shortDescription{};
    QLatin1StringView describeKeys{}; ///< separated by blanks; "a|b" is the first that is given
    Apply apply = nullptr;
    /// What is wrong with arguments that are right each by itself; none where that says it all.
    QString (*flaw)(const QVariantMap &args) = nullptr;
    Restore restore = nullptr; ///< to a state of a modification; none where ops add or remove only

    std::span<const ArgKey> arguments() const; ///< those of `keys` that are used
};

/// All kinds.
std::span<const OpEntry> opCatalogue();
/// None for an unknown kind.
const OpEntry *findOp(const QString &kind);
/// What is wrong with the arguments, as "missing itemId" or "itemId is no uuid"; empty when they
/// are complete and can be read. Arguments that the entry doesn't know are passed over.
QString checkArguments(const OpEntry &entry, const QVariantMap &args);

} // namespace corvane::ops
