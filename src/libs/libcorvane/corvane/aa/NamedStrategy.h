#pragma once

#include <corvane/aa/IAntialiasStrategy.h>

namespace corvane::aa {

/// A strategy that is known by its id, under the name that the menus have for it.
class NamedStrategy : public IAntialiasStrategy
{
public:
    explicit NamedStrategy(const QString &id)
        : m_id(id)
    {}

    QString id() const override { return m_id; }
    QString displayName() const override;
    FrameSetup frameSetup(qint64) const override { return {}; }

private:
    QString m_id;
};

} // namespace corvane::aa
