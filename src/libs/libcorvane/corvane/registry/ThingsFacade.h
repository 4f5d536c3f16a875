#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace corvane::registry {

class Registry;

/// The kinds of things, as descriptors hold them.
namespace ThingKind {
inline constexpr auto Primitive = QLatin1StringView("primitive");
inline constexpr auto Component = QLatin1StringView("component");
} // namespace ThingKind

/// Something that the user can place in a scene.
struct ThingDescriptor
{
    QString id;
    QString name;
    QString description;
    QString category;
    QString kind; ///< of ThingKind
    int sortOrder = 0;
    QStringList parameterNames; ///< as shown: display names where there are any

    bool operator==(const ThingDescriptor &) const = default;
};

/// Lists the things of one kind.
class IThingProvider
{
public:
    virtual ~IThingProvider() = default;
    [[nodiscard]] virtual QString kind() const = 0;
    [[nodiscard]] virtual QList<ThingDescriptor> things() const = 0;
};

/// The enabled definitions of a registry, one node type after the other.
class PrimitiveThingProvider : public IThingProvider
{
public:
    /// Null means the process-wide registry, at the time of each listing.
    explicit PrimitiveThingProvider(const Registry *registry = nullptr)
        : m_registry(registry)
    {}

    [[nodiscard]] QString kind() const override;
    [[nodiscard]] QList<ThingDescriptor> things() const override;

private:
    const Registry *m_registry;
};

/// The registered components. Where these are kept is no matter of this library: whoever keeps them
/// sets the source, and until then there are none.
class ComponentThingProvider : public IThingProvider
{
public:
    using Source = std::function<QList<ThingDescriptor>()>;

    void setSource(const Source &source) { m_source = source; }

    [[nodiscard]] QString kind() const override;
    /// What the source lists, with kind and category set.
    [[nodiscard]] QList<ThingDescriptor> things() const override;

private:
    Source m_source;
};

/// The read view of all that the user can place: definitions, then components. Main thread.
class ThingsFacade
{
public:
    static ThingsFacade &instance();
    explicit ThingsFacade(const Registry *registry = nullptr);

    [[nodiscard]] QList<ThingDescriptor> things() const;
    [[nodiscard]] QList<ThingDescriptor> thingsOfKind(const QString &kind) const;
    [[nodiscard]] ComponentThingProvider &components() { return *m_components; }

private:
    std::vector<std::unique_ptr<IThingProvider>> m_providers;
    ComponentThingProvider *m_components; ///< one of m_providers
};

} // namespace corvane::registry
