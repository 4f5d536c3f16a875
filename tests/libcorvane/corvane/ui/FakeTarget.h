#pragma once

#include <corvane/model/ParameterValue.h>
#include <corvane/ui/fields/FieldTarget.h>

/// A value that lives in the test, with the drags that it saw.
class FakeTarget : public corvane::ui::FieldTarget
{
public:
    explicit FakeTarget(const QVariant &value = 0.0)
        : now{.value = value}
    {}

    corvane::ui::FieldState state() const override { return now; }
    bool write(const QVariant &stored) override
    {
        const auto value = corvane::model::ParameterValue::fromVariant(stored);
        now.value = value.value();
        now.expression = value.isExpression() ? value.expression : QString();
        now.isChanged = true;
        ++writes;
        emit changed();
        return true;
    }
    bool reset() override
    {
        now = {.value = 0.0};
        emit changed();
        return true;
    }
    void beginDrag(const QString &label) override
    {
        dragLabels.append(label);
        beforeDrag = now;
    }
    void endDrag() override { ++dragsEnded; }
    void cancelDrag() override
    {
        now = beforeDrag;
        ++dragsCancelled;
        emit changed();
    }
    QString makeVariable(const QString &name) override
    {
        if (name == u"taken")
            return QStringLiteral("There is a variable of this name.");
        write(QVariant::fromValue(corvane::model::ParameterValue::fromExpression(name, now.value)));
        return {};
    }
    bool canBeBound() const override { return true; }

    corvane::ui::FieldState now;
    corvane::ui::FieldState beforeDrag;
    int writes = 0;
    QStringList dragLabels;
    int dragsEnded = 0;
    int dragsCancelled = 0;
};
