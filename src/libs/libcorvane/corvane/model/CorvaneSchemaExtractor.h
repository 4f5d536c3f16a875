#pragma once

#include <QJsonObject>

namespace corvane::model {

class Corvane;

/// Tells a script which inputs a scene has.
class CorvaneSchemaExtractor
{
public:
    /// "parameters": one object for each variable of the unnamed varset that is not derived;
    /// "generator_type", "generator_version", and "source_hash", SHA-256 over names, values and
    /// types of all of them.
    static QJsonObject extractSchema(const Corvane &scene);
};

} // namespace corvane::model
