#include <corvane/ui/picker/PickerModel.h>

#include <corvane/registry/Registry.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/picker/FuzzyMatch.h>
#include <corvane/ui/picker/KindIcons.h>

#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

/// What a fit in each text takes off: a name counts most.
constexpr int idCost = 5;
constexpr int tagCost = 70; // a whole tag is less than a word of a name
constexpr int categoryCost = 90;
constexpr int usageBonus = 2; ///< for each time that it was picked
constexpr int mostUsageBonus = 20;

const QString withoutCategory = u"Other"_s;

QString categoryOf(const registry::ThingDescriptor &thing)
{
    return thing.category.isEmpty() ? withoutCategory : thing.category;
}

} // namespace

PickerModel::PickerModel(const registry::ThingsFacade *things, const PickerUsage *usage,
                         ThumbnailSource *thumbnails, QObject *parent)
    : QAbstractListModel(parent)
    , m_things(things)
    , m_usage(usage)
    , m_thumbnails(thumbnails)
{
    if (thumbnails)
        connect(thumbnails, &ThumbnailSource::thumbnailReady, this, [this] {
            if (!m_rows.isEmpty())
                emit dataChanged(index(0), index(rowCount() - 1), {Qt::DecorationRole});
        });
    reload();
}

void PickerModel::reload()
{
    m_all.clear();
    const auto things = m_things->things();
    for (const auto &descriptor : things) {
        const auto definition = registry::Registry::instance().getDefinition(descriptor.id);
        const bool isComponent = descriptor.kind == registry::ThingKind::Component;
        m_all.append({descriptor, definition && !isComponent ? definition->tags : QStringList(),
                      isComponent || !definition ? u"component"_s : iconOfDefinition(*definition)});
    }
    rebuild();
}

void PickerModel::setQuery(const QString &query)
{
    if (m_query == query.simplified())
        return;
    m_query = query.simplified();
    rebuild();
}

void PickerModel::rebuild()
{
    beginResetModel();
    m_rows.clear();
    if (m_query.isEmpty())
        listAll();
    else
        listFitting();
    endResetModel();
}

QList<int> PickerModel::indexesOf(const QStringList &ids) const
{
    QList<int> found;
    for (const QString &id : ids) {
        for (int i = 0; i < m_all.size(); ++i) {
            if (m_all.at(i).descriptor.id == id)
                found.append(i);
        }
    }
    return found;
}

void PickerModel::listSection(const QString &heading, const QList<int> &things)
{
    if (things.isEmpty())
        return;
    m_rows.append(Row{-1, heading});
    for (const int thing : things)
        m_rows.append(Row{thing, {}});
}

// Categories in the order in which they come first: the registry's.
void PickerModel::listAll()
{
    if (m_usage) {
        listSection(tr("Recent"), indexesOf(m_usage->recent()));
        listSection(tr("Often used"), indexesOf(m_usage->often()));
    }
    QStringList categories;
    QHash<QString, QList<int>> members;
    for (int i = 0; i < m_all.size(); ++i) {
        const QString category = categoryOf(m_all.at(i).descriptor);
        if (!members.contains(category))
            categories.append(category);
        members[category].append(i);
    }
    for (const QString &category : std::as_const(categories))
        listSection(category, members.value(category));
}

void PickerModel::listFitting()
{
    QList<std::pair<int, int>> fitting; // by score
    for (int i = 0; i < m_all.size(); ++i) {
        if (const auto fit = score(m_all.at(i)))
            fitting.append({*fit, i});
    }
    std::stable_sort(fitting.begin(), fitting.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    for (const auto &[fit, thing] : std::as_const(fitting))
        m_rows.append(Row{thing, {}});
}

std::optional<int> PickerModel::score(const Thing &thing) const
{
    std::optional<int> best;
    const auto offer = [&](const QString &text, int cost) {
        if (const auto fit = fuzzyScore(m_query, text); fit && (!best || *fit - cost > *best))
            best = *fit - cost;
    };
    offer(thing.descriptor.name, 0);
    offer(thing.descriptor.id, idCost);
    for (const QString &tag : thing.tags)
        offer(tag, tagCost);
    offer(thing.descriptor.category, categoryCost);
    if (best && m_usage)
        *best += qMin(mostUsageBonus, usageBonus * m_usage->count(thing.descriptor.id));
    return best;
}

int PickerModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant PickerModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    if (row.thing < 0)
        return role == Qt::DisplayRole || role == Qt::AccessibleTextRole ? QVariant(row.heading)
               : role == IsHeadingRole                                   ? QVariant(true)
                                                                         : QVariant();
    const Thing &thing = m_all.at(row.thing);
    switch (role) {
    case Qt::DisplayRole:
        return thing.descriptor.name;
    case Qt::DecorationRole:
        return decoration(thing);
    case Qt::ToolTipRole:
    case DescriptionRole:
        return thing.descriptor.description;
    case Qt::AccessibleTextRole:
        return u"%1, %2"_s.arg(thing.descriptor.name, categoryOf(thing.descriptor));
    case IdRole:
        return thing.descriptor.id;
    case KindRole:
        return thing.descriptor.kind;
    case CategoryRole:
        return categoryOf(thing.descriptor);
    case IsHeadingRole:
        return false;
    default:
        return {};
    }
}

QVariant PickerModel::decoration(const Thing &thing) const
{
    const QPixmap picture = m_thumbnails
                                ? m_thumbnails->thumbnail(thing.descriptor.id, thumbnailSize,
                                                          qGuiApp->devicePixelRatio())
                                : QPixmap();
    return picture.isNull() ? QVariant(icon(thing.iconName)) : QVariant(picture);
}

Qt::ItemFlags PickerModel::flags(const QModelIndex &index) const
{
    const bool isThing = index.isValid() && m_rows.value(index.row()).thing >= 0;
    return isThing ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

int PickerModel::nextRow(int row, int direction) const
{
    for (; row >= 0 && row < m_rows.size(); row += direction) {
        if (m_rows.at(row).thing >= 0)
            return row;
    }
    return -1;
}

} // namespace corvane::ui
