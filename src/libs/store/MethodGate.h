#pragma once

#include <QObject>

namespace store {

/// A guard at the top of public methods: a call through a pointer that cannot be one leaves a line
/// in the log that says so, before the crash that follows on most of them.
///
///     void SimpleDataStore::markDirty()
///     {
///         const MethodGate gate(this);
class MethodGate
{
public:
    /// No object stands below this address; null and small offsets from it do.
    static constexpr quintptr lowestAddress = 0xd0000;

    /// A null parent is none and passes.
    MethodGate(const void *self, const void *parent) { check(self, parent); }
    /// The parent is asked for only when the object itself passes.
    explicit MethodGate(const QObject *self)
    {
        check(self, isDubious(self) ? nullptr : self->parent());
    }

private:
    static bool isDubious(const void *address)
    {
        return reinterpret_cast<quintptr>(address) < lowestAddress;
    }
    static void check(const void *self, const void *parent)
    {
        if (isDubious(self)) [[unlikely]]
            report("this");
        if (parent && isDubious(parent)) [[unlikely]]
            report("parent-this");
    }
    static void report(const char *what);
};

} // namespace store
