#include <corvane/model/SlotManager.h>

#include <corvane/model/IconShapes.h>
#include <corvane/registry/Registry.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr int letterCount = 26;
constexpr auto numberHole = "%1"_L1;

/// "a" to "z", then "aa", "ab" and so on.
QString letters(int index)
{
    QString text;
    for (int rest = index; rest >= 0; rest = rest / letterCount - 1)
        text.prepend(QChar(u'a' + rest % letterCount));
    return text;
}

} // namespace

ChildSlots ChildSlots::of(const QString &definitionId)
{
    const auto definition = registry::Registry::instance().getDefinition(definitionId);
    if (!definition)
        return {};
    const registry::ParameterDef *parameter = definition->childParameter();
    if (!parameter)
        return {.isKnown = true};
    return {.isKnown = true,
            .exist = definition->maxChildren() != 0,
            .minimum = definition->minChildren(),
            .maximum = definition->maxChildren(),
            .pattern = parameter->childDisplayPattern};
}

int ChildSlots::visibleCount(int filled) const
{
    if (!exist)
        return 0;
    int count = std::max(minimum, filled);
    const bool mayHaveMore = maximum < 0 || count < maximum;
    if (filled >= minimum && mayHaveMore && count < std::numeric_limits<int>::max())
        ++count;
    return maximum < 0 ? count : std::min(count, maximum);
}

QString ChildSlots::nameOf(int index) const
{
    const QString number = QString::number(index + 1);
    if (!isKnown)
        return u"Slot %1"_s.arg(number);
    if (!exist)
        return index < letterCount ? QString(QChar(u'A' + index)) : u"Child %1"_s.arg(number);
    if (pattern.isEmpty() || pattern == numberHole)
        return letters(index);
    if (pattern.contains(numberHole))
        return QString(pattern).replace(numberHole, number).toLower();
    return maximum == 1 ? pattern.toLower() : pattern.toLower() + u' ' + number;
}

bool SlotManager::hasChildSlots(const QString &definitionId)
{
    return ChildSlots::of(definitionId).exist;
}

int SlotManager::calculateVisibleSlotCount(const QString &definitionId, int filled)
{
    return ChildSlots::of(definitionId).visibleCount(filled);
}

QString SlotManager::slotName(const QString &definitionId, int index)
{
    return ChildSlots::of(definitionId).nameOf(index);
}

QString SlotManager::displayNameForInstance(const Instance &instance)
{
    return instance.name.isEmpty() ? u"<%1>"_s.arg(instance.definitionId()) : instance.name;
}

QIcon SlotManager::iconForDefinition(const QString &definitionId)
{
    return IconShapes::icon(definitionId);
}

} // namespace corvane::model
