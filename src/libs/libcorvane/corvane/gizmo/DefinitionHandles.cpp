#include <corvane/gizmo/DefinitionHandles.h>

#include <corvane/gizmo/GizmoStyle.h>
#include <corvane/registry/Definition.h>

#include <array>

namespace corvane::gizmo {

using namespace Qt::StringLiterals;
using registry::ParameterDef;

namespace {

constexpr double angleStep = 15.0; ///< degrees of a turn that snaps
constexpr double lengthStep = 1.0;
constexpr float halfOfBoth = 0.5f; ///< a full extent reaches half as far to each side

const std::array<QVector3D, 3> axes{QVector3D(1, 0, 0), QVector3D(0, 1, 0), QVector3D(0, 0, 1)};

/// The components of a group's handle, in the order of the axes.
struct GroupComponent
{
    QLatin1String name;
    int axis;
};
constexpr std::array groupComponents{
    GroupComponent{"x"_L1, 0},     GroupComponent{"y"_L1, 1},   GroupComponent{"z"_L1, 2},
    GroupComponent{"pitch"_L1, 0}, GroupComponent{"yaw"_L1, 1}, GroupComponent{"roll"_L1, 2},
};

int componentCount(registry::SDFParameterType type)
{
    switch (type) {
    case registry::SDFParameterType::Vec2:
        return 2;
    case registry::SDFParameterType::Vec3:
        return 3;
    default:
        return 0;
    }
}

/// "x" of "offset.x"; -1 for none.
int componentOfPath(QStringView path)
{
    const qsizetype point = path.lastIndexOf(u'.');
    const QStringView name = point < 0 ? QStringView() : path.mid(point + 1);
    return name.size() == 1 ? static_cast<int>(QStringView(u"xyz").indexOf(name)) : -1;
}

double numberOr(const QVariant &value, double otherwise)
{
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok ? number : otherwise;
}

class HandleList
{
public:
    HandleList(GizmoSpec &spec, const registry::Definition &definition, const QUuid &instance,
               const QVariantMap &values)
        : m_spec(spec)
        , m_definition(definition)
        , m_instance(instance)
        , m_values(values)
    {}

    void appendParameter(const ParameterDef &parameter)
    {
        const auto type = handleTypeFromWord(parameter.gizmo->type);
        if (!type)
            return;
        const int count = parameter.gizmo->axis ? 0 : componentCount(parameter.type);
        if (count == 0)
            append(*type, parameter, parameter.gizmo->axis.value_or(defaultAxis(*type)), -1);
        for (int component = 0; component < count; ++component)
            append(*type, parameter, axes.at(component), component);
    }

    void appendGroup(const registry::GizmoGroupSpec &group)
    {
        const auto type = handleTypeFromWord(group.type);
        if (!type)
            return;
        for (const GroupComponent &component : groupComponents) {
            const QString path = group.bindings.value(component.name);
            const ParameterDef *parameter = findParameter(path.section(u'.', 0, 0));
            if (!parameter)
                continue;
            append(*type, *parameter, axes.at(component.axis), componentOfPath(path));
            GizmoHandleSpec &handle = m_spec.handles.last();
            if (*type == HandleType::Rotate)
                handle.rotation = gimbal(component.axis, value(*parameter));
        }
    }

private:
    static QVector3D defaultAxis(HandleType type) { return isAngular(type) ? axes[2] : axes[0]; }

    /// The axes of a turn by Rx * Ry * Rz: each is carried along by those that act after it.
    static QVector3D gimbal(int axis, const QVariant &angles)
    {
        GizmoHandleSpec reader;
        reader.value = angles;
        QVector3D carried;
        for (int outer = 0; outer < axis; ++outer) {
            reader.component = outer;
            carried[outer] = static_cast<float>(reader.number());
        }
        return carried;
    }

    const ParameterDef *findParameter(const QString &name) const
    {
        for (const ParameterDef &parameter : m_definition.parameters) {
            if (parameter.name == name)
                return &parameter;
        }
        return nullptr;
    }

    QVariant value(const ParameterDef &parameter) const
    {
        return m_values.value(parameter.name, parameter.defaultValue);
    }

    void append(HandleType type, const ParameterDef &parameter, const QVector3D &axis,
                int component)
    {
        GizmoHandleSpec handle;
        handle.type = type;
        handle.axis = axis.isNull() ? defaultAxis(type) : axis.normalized();
        handle.color = GizmoStyle::colorForAxis(handle.axis);
        handle.targetInstance = m_instance;
        handle.parameter = parameter.name;
        handle.component = component;
        handle.value = value(parameter);
        handle.drag = parameter.drag;
        handle.minimum = numberOr(parameter.minValue, handle.minimum);
        handle.maximum = numberOr(parameter.maxValue, handle.maximum);
        handle.step = numberOr(parameter.stepValue, isAngular(type) ? angleStep : lengthStep);
        if (parameter.gizmo)
            applyBlock(handle, *parameter.gizmo);
        m_spec.handles.append(handle);
    }

    void applyBlock(GizmoHandleSpec &handle, const registry::GizmoSpec &block) const
    {
        handle.symmetric = block.symmetric;
        handle.distancePerUnit = block.scale * (block.symmetric ? halfOfBoth : 1.0f);
        handle.rotation = block.rotation.value_or(QVector3D());
        handle.offset = block.offset.value_or(QVector3D());
        const ParameterDef *length = findParameter(block.offsetParam);
        if (!length)
            return;
        const QVector3D direction =
            handle.offset.isNull() ? handle.axis : handle.offset.normalized();
        handle.offset = direction * value(*length).toFloat();
    }

    GizmoSpec &m_spec;
    const registry::Definition &m_definition;
    const QUuid m_instance;
    const QVariantMap &m_values;
};

} // namespace

void appendHandlesFromDefinition(GizmoSpec &spec, const registry::Definition &definition,
                                 const QUuid &instance, const QVariantMap &values)
{
    HandleList list(spec, definition, instance, values);
    for (const ParameterDef &parameter : definition.parameters) {
        if (parameter.gizmo)
            list.appendParameter(parameter);
    }
    if (definition.gizmoGroup)
        list.appendGroup(*definition.gizmoGroup);
}

} // namespace corvane::gizmo
