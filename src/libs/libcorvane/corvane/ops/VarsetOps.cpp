#include <corvane/ops/VarsetOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/ops/CorvaneOpDescriber.h>
#include <corvane/ops/ExpressionSnapshot.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

using model::VarsetEntries;
using model::VarsetEntry;
using model::VarsetTable;

namespace {

/// One variable: its varset, empty for the unnamed one, and its name there.
struct Address
{
    QString varset{};
    QString name{};

    QString fullName() const { return varset.isEmpty() ? name : varset + u'.' + name; }
};

bool hasVarset(const VarsetTable &table, const QString &varset)
{
    return varset.isEmpty() || table.namedVarsets().contains(varset);
}

VarsetEntries entriesOf(const VarsetTable &table, const QString &varset)
{
    return varset.isEmpty() ? table.entries() : table.namedVarset(varset);
}

QStringList orderOf(const VarsetTable &table, const QString &varset)
{
    return varset.isEmpty() ? table.order() : table.namedVarsetEntryOrder(varset);
}

void put(VarsetTable &table, const QString &varset, const VarsetEntries &entries,
         const QStringList &order)
{
    if (varset.isEmpty())
        table.setEntries(entries, order);
    else
        table.setNamed(varset, entries, order);
}

Address addressOf(const VarsetTable &table, const QString &varset, const QString &name)
{
    const qsizetype dot = name.indexOf(u'.');
    if (!varset.isEmpty() || table.entries().contains(name) || dot < 1)
        return {varset, name};
    const QString named = name.left(dot);
    return hasVarset(table, named) ? Address{named, name.mid(dot + 1)} : Address{{}, name};
}

bool hasEntry(const VarsetTable &table, const Address &address)
{
    return table.findIn(address.varset, address.name) != nullptr;
}

/// All fields, the empty ones too, so that the map is read back as the long form.
QVariantMap entryState(const VarsetEntry &entry)
{
    return {{u"value"_s, entry.value},
            {u"type"_s, entry.type},
            {u"description"_s, entry.description},
            {u"unit"_s, entry.unit},
            {u"constraints"_s, entry.constraints.toVariantMap()},
            {u"expression"_s, entry.expression}};
}

/// The variable as it is, or that there is none; without its place, which it keeps while it is set,
/// and a new one has at the end.
QVariantMap settingState(const VarsetTable &table, const Address &address)
{
    const VarsetEntry *found = table.findIn(address.varset, address.name);
    QVariantMap state{{StateKeys::opDomain, OpDomain::varset},
                      {u"varsetName"_s, address.varset},
                      {u"entryName"_s, address.name},
                      {u"existed"_s, found != nullptr}};
    if (found)
        state.insert(u"entry"_s, entryState(*found));
    return state;
}

/// The same with its place.
QVariantMap variableState(const VarsetTable &table, const Address &address)
{
    QVariantMap state = settingState(table, address);
    if (hasEntry(table, address))
        state.insert(StateKeys::index, orderOf(table, address.varset).indexOf(address.name));
    return state;
}

Address addressIn(const QVariantMap &state)
{
    return {state.value(u"varsetName"_s).toString(), state.value(u"entryName"_s).toString()};
}

void insertEntry(VarsetTable &table, const Address &address, const VarsetEntry &entry,
                 qsizetype index)
{
    VarsetEntries entries = entriesOf(table, address.varset);
    QStringList order = orderOf(table, address.varset);
    entries.insert(address.name, entry);
    order.removeAll(address.name);
    if (index >= 0)
        order.insert(std::min(index, order.size()), address.name);
    put(table, address.varset, entries, order);
}

void removeEntry(VarsetTable &table, const Address &address)
{
    VarsetEntries entries = entriesOf(table, address.varset);
    QStringList order = orderOf(table, address.varset);
    entries.remove(address.name);
    order.removeAll(address.name);
    put(table, address.varset, entries, order);
}

/// What the entry's map names, over the entry that is.
VarsetEntry overlaid(const VarsetEntry &known, const QVariantMap &given)
{
    QVariantMap map = entryState(known);
    map.insert(given);
    return VarsetEntry::fromVariant(map);
}

VarsetEntry wantedEntry(const VarsetEntry &known, const OpCall &call)
{
    VarsetEntry entry = known;
    const QVariant given = call.value("entry"_L1);
    const QVariantMap map = given.toMap();
    if (map.contains(u"value"_s)) {
        entry = VarsetEntry::fromVariant(map);
    } else if (!map.isEmpty()) {
        entry = overlaid(known, map);
    } else {
        const QVariant value = given.isValid() ? given : call.value("value"_L1);
        const QString text = value.toString();
        const bool isText = call.text("type"_L1) == "string"_L1;
        if (!isText && value.typeId() == QMetaType::QString && text.startsWith(u'=')) {
            entry.expression = text.mid(1);
        } else {
            entry.value = value;
            entry.expression.clear();
        }
    }
    if (call.has("type"_L1))
        entry.type = call.text("type"_L1);
    return entry;
}

/// Whether the full name means another variable: the unnamed varset may have one of that name.
bool isShadowed(const VarsetTable &table, const Address &address)
{
    return !address.varset.isEmpty() && table.entries().contains(address.fullName());
}

/// Where it stands in the order, with no word to anyone who reads it by its full name.
void renameInTable(OpContext &context, const Address &from, const Address &to)
{
    VarsetTable table = context.document.variables();
    const VarsetEntry entry = entriesOf(table, from.varset).value(from.name);
    const qsizetype index = orderOf(table, from.varset).indexOf(from.name);
    removeEntry(table, from);
    insertEntry(table, to, entry, index);
    context.document.setVariables(table);
}

QVariantMap namedVarsetState(const VarsetTable &table, const QString &varset)
{
    QVariantMap entries;
    const VarsetEntries all = table.namedVarset(varset);
    for (auto it = all.cbegin(); it != all.cend(); ++it)
        entries.insert(entries.cend(), it.key(), entryState(*it));
    return {{StateKeys::opDomain, OpDomain::varset},
            {u"varsetName"_s, varset},
            {u"entries"_s, entries},
            {u"order"_s, table.namedVarsetEntryOrder(varset)}};
}

/// Does what renames a variable, and records the expressions that changed with it.
template<class Rename>
void withExpressions(OpContext &context, OpChange &change, const Rename &rename)
{
    QVariantMap before = captureExpressions(context);
    rename();
    QVariantMap after = captureExpressions(context);
    keepDifferences(before, after);
    if (before == after)
        return;
    change.before.insert(u"expressions"_s, before);
    change.after.insert(u"expressions"_s, after);
}

QVariantMap nameState(const Address &target, const Address &other)
{
    return {{StateKeys::opDomain, OpDomain::varset},
            {u"varsetName"_s, target.varset},
            {u"targetName"_s, target.name},
            {u"otherName"_s, other.name}};
}

QVariantMap placeState(const VarsetTable &table, const Address &address, const QString &other)
{
    QVariantMap state = variableState(table, address);
    state.insert(u"otherName"_s, other);
    return state;
}

} // namespace

OpOutcome applyVarsetSetVariable(OpContext &context, const OpCall &call)
{
    const VarsetTable &table = context.document.variables();
    const QString varset = call.text("varsetName"_L1);
    if (!hasVarset(table, varset))
        return call.refuse(u"varset not found:"_s, varset);
    if (!call.has("entry"_L1) && !call.has("value"_L1))
        return call.refuse(u"missing entry or value"_s);
    const Address address = addressOf(table, varset, call.text("name"_L1));
    OpChange change{.before = settingState(table, address),
                    .textArgs = {call.text("name"_L1)},
                    .scope = u"varset/"_s + address.fullName()};
    const VarsetEntry *known = table.findIn(address.varset, address.name);
    const VarsetEntry entry = wantedEntry(known ? *known : VarsetEntry(), call);
    context.document.setVariableIn(address.varset, address.name, entry);
    change.after = settingState(table, address);
    return change;
}

void restoreVariable(OpContext &context, const QUuid &, const QVariantMap &state)
{
    if (state.value(u"existed"_s).toBool())
        insertVarsetSnapshot(context, state);
    else
        removeVarsetSnapshot(context, state);
}

OpOutcome applyVarsetRemoveVariable(OpContext &context, const OpCall &call)
{
    const VarsetTable &table = context.document.variables();
    const Address address = addressOf(table, call.text("varsetName"_L1), call.text("name"_L1));
    if (!hasEntry(table, address))
        return call.refuse(u"variable not found:"_s, address.fullName());
    OpChange change{.category = OpCategory::ItemRemoved,
                    .before = variableState(table, address),
                    .textArgs = {call.text("name"_L1)}};
    removeVarsetSnapshot(context, change.before);
    return change;
}

OpOutcome applyVarsetRenameVariable(OpContext &context, const OpCall &call)
{
    const VarsetTable &table = context.document.variables();
    const QString oldName = call.text("oldName"_L1);
    const QString newName = call.text("newName"_L1);
    const Address from = addressOf(table, call.text("varsetName"_L1), oldName);
    const QString prefix = from.varset + u'.';
    const bool hasPrefix = !from.varset.isEmpty() && newName.startsWith(prefix);
    const Address to{from.varset, hasPrefix ? newName.mid(prefix.size()) : newName};
    if (!hasEntry(table, from))
        return call.refuse(u"variable not found:"_s, oldName);
    if (from.name != to.name && hasEntry(table, to))
        return call.refuse(u"already exists:"_s, newName);
    if (to.name.isEmpty() || (!to.varset.isEmpty() && to.name.contains(u'.')))
        return call.refuse(u"no name for a variable:"_s, newName);
    OpChange change{.before = nameState(from, to), .after = nameState(to, from)};
    change.textArgs = {oldName, newName};
    if (from.name == to.name)
        return OpChange{};
    if (isShadowed(table, from)) {
        renameInTable(context, from, to);
        return change;
    }
    withExpressions(context, change, [&context, &from, &to] {
        context.document.renameVariable(from.fullName(), to.fullName());
        renameInExpressions(context, from.fullName(), to.fullName(), expr::RenamedKind::Variable);
    });
    return change;
}

void restoreVariableName(OpContext &context, const QUuid &, const QVariantMap &state)
{
    const QString varset = state.value(u"varsetName"_s).toString();
    const Address target{varset, state.value(u"targetName"_s).toString()};
    const Address other{varset, state.value(u"otherName"_s).toString()};
    const bool canBeNamed = !isShadowed(context.document.variables(), other);
    bool isRenamed = false;
    renameWithoutRewriting(context, [&] {
        isRenamed =
            canBeNamed && context.document.renameVariable(other.fullName(), target.fullName());
    });
    // A file may give an entry of a varset a name with dots, which no rename would give it.
    if (!isRenamed)
        renameInTable(context, other, target);
    restoreExpressions(context, state.value(u"expressions"_s).toMap());
}

OpOutcome applyVarsetReorder(OpContext &context, const OpCall &call)
{
    const VarsetTable &table = context.document.variables();
    const Address address = addressOf(table, call.text("varsetName"_L1), call.text("name"_L1));
    if (!hasEntry(table, address))
        return call.refuse(u"variable not found:"_s, address.fullName());
    const QString beforeName = call.text("beforeName"_L1);
    const Address before = addressOf(table, address.varset, beforeName);
    if (!beforeName.isEmpty() && (before.varset != address.varset || !hasEntry(table, before)))
        return call.refuse(u"variable not found:"_s, beforeName);

    const QStringList order = orderOf(table, address.varset);
    QStringList wanted = order;
    const QStringList names = entriesOf(table, address.varset).keys();
    const QSet<QString> ordered(order.cbegin(), order.cend());
    for (const QString &name : names) {
        if (!ordered.contains(name))
            wanted.append(name);
    }
    if (before.name == address.name)
        return OpChange{};
    wanted.removeAll(address.name);
    wanted.insert(beforeName.isEmpty() ? wanted.size() : wanted.indexOf(before.name), address.name);
    const QVariantMap state{{StateKeys::opDomain, OpDomain::varset},
                            {u"varsetName"_s, address.varset}};
    OpChange change{.before = state, .after = state};
    change.before.insert(u"order"_s, order);
    change.after.insert(u"order"_s, wanted);
    restoreVariableOrder(context, {}, change.after);
    return change;
}

void restoreVariableOrder(OpContext &context, const QUuid &, const QVariantMap &state)
{
    VarsetTable table = context.document.variables();
    const QString varset = state.value(u"varsetName"_s).toString();
    put(table, varset, entriesOf(table, varset), state.value(u"order"_s).toStringList());
    context.document.setVariables(table);
}

OpOutcome applyVarsetAddNamed(OpContext &context, const OpCall &call)
{
    const QString varset = call.text("varsetName"_L1);
    VarsetTable table = context.document.variables();
    if (hasVarset(table, varset))
        return call.refuse(u"already exists:"_s, varset);
    if (varset.contains(u'.'))
        return call.refuse(u"no name for a varset:"_s, varset);
    table.setNamed(varset, {}, {});
    context.document.setVariables(table);
    return OpChange{.category = OpCategory::ItemAdded,
                    .after = namedVarsetState(table, varset),
                    .textArgs = {varset}};
}

OpOutcome applyVarsetRemoveNamed(OpContext &context, const OpCall &call)
{
    const QString varset = call.text("varsetName"_L1);
    const VarsetTable &table = context.document.variables();
    if (!hasVarset(table, varset))
        return call.refuse(u"varset not found:"_s, varset);
    OpChange change{.category = OpCategory::ItemRemoved,
                    .before = namedVarsetState(table, varset),
                    .textArgs = {varset}};
    removeVarsetSnapshot(context, change.before);
    return change;
}

OpOutcome applyVarsetMoveEntry(OpContext &context, const OpCall &call)
{
    const VarsetTable &table = context.document.variables();
    const Address from{call.text("srcVarset"_L1), call.text("entryName"_L1)};
    const Address to{call.text("dstVarset"_L1), from.name};
    if (!hasVarset(table, from.varset) || !hasEntry(table, from))
        return call.refuse(u"variable not found:"_s, from.fullName());
    if (!hasVarset(table, to.varset))
        return call.refuse(u"varset not found:"_s, to.varset);
    if (from.varset == to.varset)
        return OpChange{};
    if (hasEntry(table, to))
        return call.refuse(u"already exists:"_s, to.fullName());
    OpChange change{.before = placeState(table, from, to.varset)};
    change.textArgs = {from.name, CorvaneOpDescriber::varsetLabel(to.varset)};
    withExpressions(context, change, [&context, &from, &to] {
        context.document.moveEntryToVarset(from.name, from.varset, to.varset);
        renameInExpressions(context, from.fullName(), to.fullName(), expr::RenamedKind::Variable);
    });
    const QVariant expressions = change.after.value(u"expressions"_s);
    change.after = placeState(context.document.variables(), to, from.varset);
    if (expressions.isValid())
        change.after.insert(u"expressions"_s, expressions);
    return change;
}

void restoreEntryPlace(OpContext &context, const QUuid &, const QVariantMap &state)
{
    VarsetTable table = context.document.variables();
    const Address address = addressIn(state);
    const Address other{state.value(u"otherName"_s).toString(), address.name};
    const VarsetEntry entry = entriesOf(table, other.varset).value(other.name);
    removeEntry(table, other);
    insertEntry(table, address, entry, state.value(StateKeys::index).toLongLong());
    context.document.setVariables(table);
    restoreExpressions(context, state.value(u"expressions"_s).toMap());
}

void insertVarsetSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    const Address address = addressIn(snapshot);
    const bool isVarset = snapshot.contains(u"entries"_s);
    const VarsetEntry entry = VarsetEntry::fromVariant(snapshot.value(u"entry"_s));
    if (!isVarset && !snapshot.contains(StateKeys::index)) {
        context.document.setVariableIn(address.varset, address.name, entry);
        return;
    }
    VarsetTable table = context.document.variables();
    if (isVarset) {
        VarsetEntries entries;
        const QVariantMap maps = snapshot.value(u"entries"_s).toMap();
        for (auto it = maps.cbegin(); it != maps.cend(); ++it)
            entries.insert(entries.cend(), it.key(), VarsetEntry::fromVariant(*it));
        table.setNamed(address.varset, entries, snapshot.value(u"order"_s).toStringList());
    } else {
        insertEntry(table, address, entry, snapshot.value(StateKeys::index).toLongLong());
    }
    context.document.setVariables(table);
}

void removeVarsetSnapshot(OpContext &context, const QVariantMap &snapshot)
{
    VarsetTable table = context.document.variables();
    const Address address = addressIn(snapshot);
    if (snapshot.contains(u"entries"_s))
        table.removeNamed(address.varset);
    else
        removeEntry(table, address);
    context.document.setVariables(table);
}

} // namespace corvane::ops
