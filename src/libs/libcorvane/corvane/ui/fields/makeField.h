#pragma once

#include <corvane/registry/ParameterDef.h>

class QWidget;

namespace corvane::ui {

class ExpressionScope;
class FieldTarget;
class FieldWidget;

/// The field that a parameter of a definition is edited with; null for one that takes children.
/// Target and scope are not owned.
FieldWidget *makeField(const registry::ParameterDef &parameter, FieldTarget *target,
                       const ExpressionScope *scope, QWidget *parent = nullptr);

} // namespace corvane::ui
