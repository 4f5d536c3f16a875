#pragma once

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>

namespace corvane::shader {

class IShadingMode;

/// The modes of shading by their ids, in the order in which they were registered. "pbr",
/// "env-lit-pbr" and "path-traced" are there from the start. Any thread may look one up; modes are
/// registered before the first thread draws.
class ShadingModeRegistry
{
public:
    [[nodiscard]] static ShadingModeRegistry &instance();

    /// False, and nothing is changed, for null, an empty id and one that is taken.
    bool registerMode(const QSharedPointer<IShadingMode> &mode);

    /// Null when there is none of that id.
    [[nodiscard]] QSharedPointer<IShadingMode> mode(const QString &id) const;
    [[nodiscard]] QList<QSharedPointer<IShadingMode>> modes() const;
    [[nodiscard]] QList<QString> ids() const { return m_ids; }

private:
    ShadingModeRegistry();

    QHash<QString, QSharedPointer<IShadingMode>> m_modes;
    QList<QString> m_ids;
};

} // namespace corvane::shader
