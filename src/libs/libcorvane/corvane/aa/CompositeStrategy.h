#pragma once

#include <corvane/aa/IAntialiasStrategy.h>

#include <memory>
#include <vector>

namespace corvane::aa {

/// Several strategies at once: the most of what each wants.
class CompositeStrategy : public IAntialiasStrategy
{
public:
    /// @param id     the ids of the parts, joined by "+"
    /// @param parts  at least one
    CompositeStrategy(const QString &id, std::vector<std::unique_ptr<IAntialiasStrategy>> parts);

    QString id() const override { return m_id; }
    QString displayName() const override;
    FrameSetup frameSetup(qint64 frameNumber) const override;
    QStringList postEffects() const override; ///< of all parts, each effect once
    bool wantsAnalyticEdgeAA() const override;
    void onFrameComplete(QRhiTexture *color) override;

private:
    QString m_id;
    std::vector<std::unique_ptr<IAntialiasStrategy>> m_parts;
};

} // namespace corvane::aa
