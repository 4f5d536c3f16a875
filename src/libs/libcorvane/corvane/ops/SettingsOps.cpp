#include <corvane/ops/SettingsOps.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/NestedValue.h>
#include <corvane/model/PlainValue.h>
#include <corvane/ops/OpCall.h>
#include <corvane/ops/OpContext.h>
#include <corvane/yaml/Savable.h>

#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

bool isPath(const QString &path)
{
    return !path.split(u'.').contains(QString());
}

/// Paths of all values in nested maps. An empty map is a value, too.
void collectPaths(const QVariantMap &map, const QString &prefix, QMap<QString, QVariant> &paths)
{
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QString path = prefix + it.key();
        const QVariantMap inner = it->toMap();
        if (inner.isEmpty())
            paths.insert(path, *it);
        else
            collectPaths(inner, path + u'.', paths);
    }
}

QMap<QString, QVariant> pathsIn(const QVariantMap &settings)
{
    QMap<QString, QVariant> paths;
    collectPaths(settings, {}, paths);
    return paths;
}

QString flawOf(const QString &path, const QVariant &value)
{
    if (!isPath(path))
        return u"'%1' is no path"_s.arg(path);
    const QString ofName = yaml::whyUnsavableName(path);
    if (!ofName.isEmpty())
        return ofName;
    const QString ofValue = yaml::whyUnsavable(value, int(path.count(u'.')) + 1);
    return ofValue.isEmpty() ? QString() : u"value "_s + ofValue;
}

/// The top-level entries that hold the paths, as they are; a path may replace a value on its way.
QVariantMap settingsState(const QVariantMap &settings, const QStringList &tops)
{
    QVariantMap kept;
    for (const QString &top : tops) {
        if (settings.contains(top))
            kept.insert(top, settings.value(top));
    }
    return {{StateKeys::opDomain, OpDomain::settings}, {u"path"_s, tops}, {u"settings"_s, kept}};
}

OpChange setPaths(OpContext &context, const QMap<QString, QVariant> &paths)
{
    QVariantMap settings = context.document.sceneSettings();
    QSet<QString> names;
    for (auto it = paths.cbegin(); it != paths.cend(); ++it)
        names.insert(it.key().section(u'.', 0, 0));
    const QStringList tops(names.cbegin(), names.cend());
    OpChange change{.before = settingsState(settings, tops)};
    for (auto it = paths.cbegin(); it != paths.cend(); ++it)
        model::setNestedValue(settings, it.key(), model::plainForFile(*it));
    change.after = settingsState(settings, tops);
    change.scope = tops.size() == 1 ? u"settings/"_s + tops.first() : u"settings"_s;
    if (change.before != change.after)
        context.document.setSceneSettings(settings);
    return change;
}

} // namespace

QString settingFlaw(const QVariantMap &args)
{
    return flawOf(args.value(u"path"_s).toString(), args.value(u"value"_s));
}

QString settingsFlaw(const QVariantMap &args)
{
    QString flaw;
    const QMap<QString, QVariant> paths = pathsIn(args.value(u"settings"_s).toMap());
    for (auto it = paths.cbegin(); it != paths.cend() && flaw.isEmpty(); ++it)
        flaw = flawOf(it.key(), *it);
    return flaw;
}

OpOutcome applySettingsSet(OpContext &context, const OpCall &call)
{
    const QString path = call.text("path"_L1);
    OpChange change = setPaths(context, {{path, call.value("value"_L1)}});
    change.textArgs = {path};
    return change;
}

OpOutcome applySettingsSetBulk(OpContext &context, const OpCall &call)
{
    return setPaths(context, pathsIn(call.map("settings"_L1)));
}

void restoreSettings(OpContext &context, const QUuid &, const QVariantMap &state)
{
    QVariantMap settings = context.document.sceneSettings();
    const QStringList tops = state.value(u"path"_s).toStringList();
    for (const QString &top : tops)
        settings.remove(top);
    settings.insert(state.value(u"settings"_s).toMap());
    context.document.setSceneSettings(settings);
}

} // namespace corvane::ops
