#pragma once

#include <corvane/registry/ThingsFacade.h>
#include <corvane/ui/picker/PickerUsage.h>

#include <QAbstractListModel>
#include <QPixmap>

namespace corvane::ui {

/// Who makes pictures of definitions. One that is not there yet is made, and told of.
class ThumbnailSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    /// Null where there is none so far.
    virtual QPixmap thumbnail(const QString &definitionId, int size, qreal scale) = 0;

signals:
    void thumbnailReady(const QString &definitionId);
};

/// All that can be placed, as the picker lists it: recent and often used ones, then the categories;
/// with something typed those that fit, the best first. A heading is a row that can't be chosen.
class PickerModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1, ///< empty for a heading
        KindRole,                  ///< of registry::ThingKind
        CategoryRole,
        DescriptionRole,
        IsHeadingRole,
    };
    static constexpr int thumbnailSize = 32;

    /// None is owned; usage and thumbnails may be null.
    PickerModel(const registry::ThingsFacade *things, const PickerUsage *usage,
                ThumbnailSource *thumbnails = nullptr, QObject *parent = nullptr);

    /// Reads anew what there is: to be called before the list is shown.
    void reload();
    void setQuery(const QString &query);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// The next row that can be chosen, from a row on and in a direction; -1 for none.
    int nextRow(int row, int direction) const;

private:
    struct Thing
    {
        registry::ThingDescriptor descriptor;
        QStringList tags;
        QString iconName;
    };
    struct Row
    {
        int thing = -1; ///< -1 for a heading
        QString heading;
    };

    void rebuild();
    void listAll();
    void listFitting();
    void listSection(const QString &heading, const QList<int> &things);
    QList<int> indexesOf(const QStringList &ids) const;
    std::optional<int> score(const Thing &thing) const;
    QVariant decoration(const Thing &thing) const;

    const registry::ThingsFacade *const m_things;
    const PickerUsage *const m_usage;
    ThumbnailSource *const m_thumbnails;
    QString m_query;
    QList<Thing> m_all;
    QList<Row> m_rows;
};

} // namespace corvane::ui
