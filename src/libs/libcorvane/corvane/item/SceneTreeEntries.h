#pragma once

#include <corvane/item/BaseSceneTreeEntry.h>

namespace corvane::item {

/// A node of the field. Its children are its operands.
class SDFSceneTreeEntry : public BaseSceneTreeEntry<model::Instance>
{
public:
    using BaseSceneTreeEntry::BaseSceneTreeEntry;
    /// Where the definition has slots.
    bool canHaveChildren() const override;

protected:
    QString iconName() const override; ///< of the definition
};

/// An item of a type without an entry of its own: no children, and the icon of its type if there is
/// one.
class ItemSceneTreeEntry : public BaseSceneTreeEntry<model::SceneItem>
{
public:
    using BaseSceneTreeEntry::BaseSceneTreeEntry;
};

/// Items of the field that are compiled as one.
class SDFDomainSceneTreeEntry : public ItemSceneTreeEntry
{
public:
    using ItemSceneTreeEntry::ItemSceneTreeEntry;
    QStringList acceptedChildTypes() const override;
};

/// Holds items of any type.
class GroupSceneTreeEntry : public ItemSceneTreeEntry
{
public:
    using ItemSceneTreeEntry::ItemSceneTreeEntry;
    QStringList acceptedChildTypes() const override;
};

/// A mesh; holds its parts, which are meshes.
class MeshSceneTreeEntry : public ItemSceneTreeEntry
{
public:
    using ItemSceneTreeEntry::ItemSceneTreeEntry;
    QStringList acceptedChildTypes() const override;
};

class TetVolumeSceneTreeEntry : public ItemSceneTreeEntry
{
public:
    using ItemSceneTreeEntry::ItemSceneTreeEntry;
};

class CameraSceneTreeEntry : public ItemSceneTreeEntry
{
public:
    using ItemSceneTreeEntry::ItemSceneTreeEntry;
};

} // namespace corvane::item
