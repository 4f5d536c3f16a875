#pragma once

#include <corvane/ops/CorvaneOp.h>
#include <corvane/zirn/ZirnTask.h>

#include <QLatin1StringView>
#include <QStringView>
#include <QUuid>
#include <QVariantMap>

#include <array>
#include <optional>
#include <span>

namespace corvane::zirn {

struct SceneAccess;
class ZirnTaskContext;

enum class TaskKind { Query, Mutation, Plain };

/// What an argument must be. Plans are written by models and by hand: where a list, a map, a number
/// or a truth value is wanted, its text will do.
enum class ArgumentKind {
    Id,                 ///< of an item, a material; not empty where required
    ParentId,           ///< of an item, or empty for the top
    DefinitionId,       ///< of a definition or component that there is
    VarsetName,         ///< of a varset that there is, or empty for the default one
    Text,               ///< not empty where required
    Name,               ///< a text, in words between dots, that can be a key of a scene file
    Number,             ///< finite
    NumberOrExpression, ///< finite, or "=" and an expression
    Flag,
    Colour, ///< a list of three or four finite numbers
    Map,
    Value, ///< anything but nothing
};

struct ParamRow
{
    QLatin1StringView name{};
    ArgumentKind kind = ArgumentKind::Value;
    bool isRequired = false;
    QStringView description{}; ///< begins with a noun: "provide the <description>"
    QStringView defaultValue{};
};

/// What the target of an edit is, which must be there before anything is done.
enum class TargetKind { None, Item, Variable, Varset, CustomDefinition, Material, OwnMaterial };

/// An edit that is one op.
struct OpRow
{
    QLatin1StringView kind{};    ///< one of ops::OpKind
    QLatin1StringView attempt{}; ///< of a failure: "set transform"
    QStringView attemptOn{};     ///< with a hole for the target: "set transform on item %1"
    TargetKind target = TargetKind::None;
    QLatin1StringView targetKey{};     ///< the argument that names the target
    QStringView success{};             ///< "{key}" stands for an argument, an output, or the name
    QLatin1StringView createdOutput{}; ///< output that gets the id of what was made

    /// Turns the arguments into those of the op; on a failure empty, with the cause.
    /// Brings the arguments into the form in which they are checked, where a plan may say the same
    /// in several ways.
    void (*complete)(QVariantMap &arguments) = nullptr;
    using Prepare = std::optional<QVariantMap> (*)(const SceneAccess &,
                                                   const QVariantMap &arguments, QString &cause);
    Prepare prepare = nullptr; ///< none: the op takes them as they are
    /// A second op that belongs to the first, for what that one made; empty when there is none,
    /// which must not depend on the id.
    using FollowUp = std::optional<ops::CorvaneOp> (*)(const QVariantMap &arguments,
                                                       const QUuid &createdId);
    FollowUp followUp = nullptr;
    /// What is added to the words of success: a sentence with a blank before it, or nothing.
    using Note = QString (*)(const SceneAccess &, const QVariantMap &arguments,
                             const QUuid &itemId);
    Note note = nullptr;
};

/// One task of the catalogue. What it does is one of the last five.
struct TaskRow
{
    QLatin1StringView name{};
    TaskKind kind = TaskKind::Query;
    QStringView description{};
    std::array<ParamRow, 10> params{};
    QLatin1StringView outputs{}; ///< separated by blanks; of edits those beside the error counts
    QLatin1StringView scope{};
    QLatin1StringView tags{}; ///< separated by blanks
    QStringView example{};    ///< one step as JSON
    bool isReadOnly = false;
    bool isIdempotent = false;

    using Query = ZirnTaskResult (*)(const ZirnTaskParams &, const SceneAccess &);
    using Mutate = ZirnTaskResult (*)(const ZirnTaskParams &, const SceneAccess &);
    using Plain = ZirnTaskResult (*)(const ZirnTaskParams &, ZirnTaskContext &);
    OpRow op{};
    Query query = nullptr;   ///< on the main thread
    Mutate mutate = nullptr; ///< on the main thread
    Plain plain = nullptr;   ///< on the plan's thread
    /// What makes a task with a class of its own.
    ZirnTaskPtr (*make)(const TaskRow &) = nullptr;

    std::span<const ParamRow> arguments() const; ///< those of `params` that are used
};

/// The catalogue by families.
std::span<const TaskRow> editTaskRows();
std::span<const TaskRow> documentTaskRows();
std::span<const TaskRow> queryTaskRows();
std::span<const TaskRow> serviceTaskRows();

} // namespace corvane::zirn
