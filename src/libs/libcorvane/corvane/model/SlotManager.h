#pragma once

#include <corvane/model/Instance.h>

#include <QIcon>
#include <QString>

namespace corvane::model {

/// What a definition says about the places for its children, read once for many questions.
struct ChildSlots
{
    bool isKnown = false; ///< there is a definition of that id
    bool exist = false;   ///< it takes children
    int minimum = 0;
    int maximum = 0; ///< -1: no limit
    QString pattern{};

    static ChildSlots of(const QString &definitionId);

    /// How many are shown when `filled` of them have a child: all filled ones, those that must be
    /// filled, and one more to drop on when there may be more.
    int visibleCount(int filled) const;
    /// The label of a slot: "a" to "z", "aa" on; or the definition's own pattern with the number
    /// from 1 on, in lower case.
    QString nameOf(int index) const;
};

/// The slots of operators, as the trees show them. Definitions are those of the registry.
class SlotManager
{
public:
    static bool hasChildSlots(const QString &definitionId);
    static int calculateVisibleSlotCount(const QString &definitionId, int filled);
    static QString slotName(const QString &definitionId, int index);

    /// The name, or "<sphere>" where there is none.
    static QString displayNameForInstance(const Instance &instance);
    /// Drawn in code; empty without a QGuiApplication.
    static QIcon iconForDefinition(const QString &definitionId);
};

} // namespace corvane::model
