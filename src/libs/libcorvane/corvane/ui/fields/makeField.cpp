#include <corvane/ui/fields/makeField.h>

#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/fields/SimpleFields.h>
#include <corvane/ui/fields/VectorField.h>

namespace corvane::ui {

FieldWidget *makeField(const registry::ParameterDef &parameter, FieldTarget *target,
                       const ExpressionScope *scope, QWidget *parent)
{
    using Type = registry::SDFParameterType;
    const NumberSpec spec = NumberSpec::of(parameter);
    const FieldLabel label{spec.name, spec.description};
    switch (parameter.type) {
    case Type::Float:
    case Type::Int:
        return new NumberField(spec, target, scope, parent);
    case Type::Bool:
        return new BoolField(label, target, scope, parent);
    case Type::Vec2:
        return new VectorField(spec, 2, target, scope, parent);
    case Type::Vec3:
        return new VectorField(spec, 3, target, scope, parent);
    case Type::Vec4:
        return new VectorField(spec, 4, target, scope, parent);
    case Type::Color:
        return new ColorField(label, target, scope, parent);
    case Type::String:
        return new TextField(label, target, scope, parent);
    case Type::SDFChild:
    case Type::SDFChildren:
        break;
    }
    return nullptr;
}

} // namespace corvane::ui
