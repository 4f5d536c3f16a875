#pragma once

#include <QHash>
#include <QList>
#include <QMutex>
#include <QUuid>
#include <QVariantMap>

#include <utility>

namespace corvane::model {
class Corvane;
}

namespace corvane::render {

/// New values of parameters of one item: what a drag sends, many times a second, in place of a
/// snapshot of the whole scene.
struct ParameterPatch
{
    QUuid item{};
    QVariantMap values{}; ///< parameter name to value
    quint64 version = 0;  ///< of the scene with it; what is older than a snapshot is no news
};

/// Stores the values in a document. False for an item that it does not have.
bool applyPatch(model::Corvane &document, const ParameterPatch &patch);

/// The latest value of each parameter, of many patches. Bounded by the parameters that there are.
class PatchTable
{
public:
    void put(const ParameterPatch &patch);
    /// Forgets what is of that version or older.
    void dropUpTo(quint64 version);
    /// The values, those of one item and version together, in the order in which they came first.
    QList<ParameterPatch> patches() const;
    bool isEmpty() const { return m_values.isEmpty(); }

private:
    struct Value
    {
        QUuid item{};
        QString parameter{};
        QVariant value{};
        quint64 version = 0;
    };
    QList<Value> m_values;
    QHash<std::pair<QUuid, QString>, qsizetype> m_indexOf;
};

/// Carries patches to a thread that is slower than they come. Any thread.
class PatchMailbox
{
public:
    /// True when there was none: somebody has to be told to fetch them.
    bool post(const ParameterPatch &patch);
    QList<ParameterPatch> take();

private:
    QMutex m_mutex;
    PatchTable m_patches;
};

} // namespace corvane::render
