#include <corvane/check/SettingsCheck.h>

#include <corvane/check/ValueCheck.h>
#include <corvane/model/NearestName.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/PostProcessStep.h>

#include <cmath>
#include <iterator>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using Setting = QVariant;
using CheckFunction = std::optional<Flaw> (*)(const Setting &);

Flaw notOneOf(const Setting &value, const QStringList &words, const QString &used)
{
    const QString list = u"Write one of "_s + words.join(u", "_s);
    return {u"%1 is not known, so %2 is used"_s.arg(shownValue(value), used),
            model::didYouMean(value.toString(), words, list)};
}

std::optional<Flaw> number(const Setting &value)
{
    if (isNumber(value))
        return std::nullopt;
    return Flaw{u"%1 is not a number, so the default is used"_s.arg(shownValue(value)),
                numberRemedy(value.toString(), {})};
}

/// A number, or an expression over the variables.
std::optional<Flaw> measure(const Setting &value)
{
    return value.toString().startsWith(u'=') ? std::nullopt : number(value);
}

std::optional<Flaw> wholeNumber(const Setting &value)
{
    if (const auto flaw = number(value))
        return flaw;
    const double given = value.toDouble();
    if (given >= 0 && given == std::floor(given))
        return std::nullopt;
    return Flaw{u"%1 is not a whole number of 0 or more"_s.arg(shownValue(value)),
                u"Write a whole number"_s};
}

std::optional<Flaw> truth(const Setting &value)
{
    if (value.typeId() == QMetaType::Bool || isNumber(value))
        return std::nullopt;
    return Flaw{u"%1 is neither true nor false"_s.arg(shownValue(value)), u"Write true or false"_s};
}

std::optional<Flaw> text(const Setting &value)
{
    if (value.typeId() == QMetaType::QString)
        return std::nullopt;
    return Flaw{u"%1 is not a text"_s.arg(shownValue(value)), u"Write it in quotes"_s};
}

std::optional<Flaw> extractor(const Setting &value)
{
    const QStringList words = xport::surfaceExtractorWords();
    if (words.contains(value.toString()))
        return std::nullopt;
    return notOneOf(value, words, u"MC, marching cubes,"_s);
}

/// A word of a list that is stored by its number.
std::optional<Flaw> numbered(const Setting &value, const QStringList &words)
{
    const double given = value.toDouble();
    if (isNumber(value) && given >= 0 && given < double(words.size()) && given == std::floor(given))
        return std::nullopt;
    QStringList meanings;
    for (qsizetype i = 0; i < words.size(); ++i)
        meanings.append(u"%1 for %2"_s.arg(QString::number(i), words.at(i)));
    const QString word = model::nearestName(QString(value.toString()).remove(u'.'), words);
    const QString remedy = word.isEmpty() ? u"Write "_s + meanings.join(u", "_s)
                                          : u"Write "_s + meanings.at(words.indexOf(word));
    return Flaw{u"%1 is not known, so %2 is used"_s.arg(shownValue(value), words.first()), remedy};
}

std::optional<Flaw> format(const Setting &value)
{
    return numbered(value, {u"STL"_s, u"OBJ"_s, u"PLY"_s, u"VTK"_s});
}

std::optional<Flaw> backend(const Setting &value)
{
    return numbered(value, {u"CPU"_s, u"GPU"_s, u"native"_s});
}

std::optional<Flaw> steps(const Setting &value)
{
    const QStringList entries = value.toStringList();
    if (entries.isEmpty() && value.isValid() && value.toList().isEmpty() &&
        value.typeId() != QMetaType::QVariantList)
        return Flaw{u"%1 is no list of steps"_s.arg(shownValue(value)),
                    u"Write it as [\"weld\"]"_s};
    for (const QString &entry : entries) {
        const QString error = entry.isEmpty() ? QString() : xport::parsePostProcess({entry}).error;
        if (error.isEmpty())
            continue;
        const QStringList names = xport::postProcessStepNames();
        const QString name = entry.section(u'(', 0, 0).trimmed();
        const QString otherwise = names.contains(name)
                                      ? u"Write it as \"%1\" or \"%1(0.5)\""_s.arg(name)
                                      : u"The steps are "_s + listed(names);
        return Flaw{u"%1 is no step"_s.arg(shownValue(QVariant(entry))),
                    names.contains(name) ? otherwise : model::didYouMean(name, names, otherwise)};
    }
    return std::nullopt;
}

struct Row
{
    QLatin1StringView group;
    QLatin1StringView key;
    CheckFunction check;
};

constexpr Row rows[] = {
    {"animation"_L1, "fps"_L1, &number},
    {"animation"_L1, "currentFrame"_L1, &number},
    {"animation"_L1, "playing"_L1, &truth},
    {"export"_L1, "cellSize"_L1, &measure},
    {"export"_L1, "threadCount"_L1, &wholeNumber},
    {"export"_L1, "chunkSize"_L1, &wholeNumber},
    {"export"_L1, "backend"_L1, &backend},
    {"export"_L1, "format"_L1, &format},
    {"export"_L1, "outputPath"_L1, &text},
    {"export"_L1, "extractor"_L1, &extractor},
    {"export"_L1, "sealed"_L1, &truth},
    {"export"_L1, "autoBounds"_L1, &truth},
    {"export"_L1, "postprocess"_L1, &steps},
    {"export.bounds"_L1, "minX"_L1, &measure},
    {"export.bounds"_L1, "minY"_L1, &measure},
    {"export.bounds"_L1, "minZ"_L1, &measure},
    {"export.bounds"_L1, "maxX"_L1, &measure},
    {"export.bounds"_L1, "maxY"_L1, &measure},
    {"export.bounds"_L1, "maxZ"_L1, &measure},
};

struct Group
{
    QLatin1StringView above; ///< of the settings themselves: nothing
    QLatin1StringView key;
};
constexpr Group groups[] = {
    {""_L1, "animation"_L1}, {""_L1, "export"_L1}, {"export"_L1, "bounds"_L1}};

const Row *rowOf(const QString &group, const QString &key)
{
    const auto *const row = std::find_if(std::begin(rows), std::end(rows), [&](const Row &entry) {
        return entry.group == group && entry.key == key;
    });
    return row == std::end(rows) ? nullptr : row;
}

bool isGroup(const QString &above, const QString &key)
{
    return std::any_of(std::begin(groups), std::end(groups), [&](const Group &group) {
        return group.above == above && group.key == key;
    });
}

QStringList keysOf(const QString &group)
{
    QStringList keys;
    for (const Row &row : rows) {
        if (row.group == group)
            keys.append(row.key);
    }
    for (const Group &inner : groups) {
        if (inner.above == group)
            keys.append(inner.key);
    }
    return keys;
}

/// The group of a setting or of a group of that name.
std::optional<QString> groupOf(const QString &key)
{
    for (const Row &row : rows) {
        if (row.key == key)
            return row.group;
    }
    for (const Group &group : groups) {
        if (group.key == key)
            return group.above;
    }
    return std::nullopt;
}

QString joined(const QString &group, const QString &key)
{
    return group.isEmpty() ? key : group + u'.' + key;
}

QString homeInFile(const QString &key)
{
    const QString home = settingsHomeOf(key);
    return home.isEmpty() ? QString() : u"It belongs under \"%1\""_s.arg(home);
}

QString homeAsPath(const QString &key)
{
    const auto group = groupOf(key);
    return group ? u"Its path is \"%1\""_s.arg(joined(*group, key)) : QString();
}

/// Goes through nested settings.
struct Walk
{
    Findings &findings;
    QString (*homeOf)(const QString &key); ///< the remedy for a key that stands elsewhere

    void checkUnknown(const QString &key, const QString &group, const KeyPath &path) const;
    void checkGroup(const QVariantMap &settings, const QString &group, const KeyPath &path) const;
};

void Walk::checkUnknown(const QString &key, const QString &group, const KeyPath &path) const
{
    const bool isTold = !findings.isFull();
    const QString home = isTold ? homeOf(key) : QString();
    const QString known = isTold ? u"Known are "_s + listed(keysOf(group)) : QString();
    findings.add(path, u"nothing reads this setting"_s,
                 home.isEmpty() ? findings.didYouMean(key, keysOf(group), known) : home);
}

void Walk::checkGroup(const QVariantMap &settings, const QString &group, const KeyPath &path) const
{
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        const KeyPath at = path + KeyPath{it.key()};
        if (isGroup(group, it.key())) {
            if (it->isValid() && it->typeId() != QMetaType::QVariantMap)
                findings.add(at, u"%1 is no map of settings"_s.arg(shownValue(*it)),
                             u"Write its keys below it, indented"_s);
            checkGroup(it->toMap(), joined(group, it.key()), at);
        } else if (const Row *row = rowOf(group, it.key())) {
            const auto flaw = it->isValid() ? row->check(*it) : std::nullopt;
            if (flaw)
                findings.add(at, flaw->what, flaw->remedy);
        } else {
            checkUnknown(it.key(), group, at);
        }
    }
}

} // namespace

QString settingsHomeOf(const QString &key)
{
    const auto group = groupOf(key);
    return group ? u"settings"_s + (group->isEmpty() ? QString() : u'.' + *group) : QString();
}

void checkSettings(const SceneSource &source, Findings &findings)
{
    const QVariant settings = source.block.value(u"settings"_s);
    const KeyPath path = source.at(u"settings"_s);
    if (settings.isValid() && settings.typeId() != QMetaType::QVariantMap)
        findings.add(path, u"%1 is no map of settings"_s.arg(shownValue(settings)),
                     u"Write its keys below it, indented"_s);
    Walk{findings, &homeInFile}.checkGroup(settings.toMap(), {}, path);
}

QList<model::SceneWarning> settingsWarnings(const QVariantMap &settings)
{
    Findings findings;
    Walk{findings, &homeAsPath}.checkGroup(settings, {}, {});
    return findings.warnings({});
}

} // namespace corvane::check
