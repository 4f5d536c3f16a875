#pragma once

#include <corvane/registry/NodeType.h>
#include <corvane/registry/ParameterDef.h>

#include <QByteArray>
#include <QList>
#include <QSharedPointer>
#include <QStringList>

namespace corvane::registry {

/// One kind of node of the field: identity, display data, code and parameters.
///
/// Definitions come from files that ship with the program, from scene files and from the user's
/// library. What kind of node one is follows from the signature of its function, not from the file:
/// `Registry::analyzeShaderSignature` fills the fields marked "inferred".
class Definition
{
public:
    QString id; ///< unique; the name of a shipped file without its extension
    QString name;
    QString description;
    QString category;
    QString author;
    QString version;
    QList<ParameterDef> parameters;
    QString shaderCode;
    /// Of a CSG operator: code that sees d1, d2, k and defines the float `blend`, where 0 takes the
    /// first child's material and 1 the second's.
    QString blend;
    QString previewImage;
    QString previewScene; ///< resource path of a scene to make the thumbnail from
    QString validationCode;
    int sortOrder = 0;
    QStringList tags;
    QStringList convenienceWrappers; ///< definition ids that each instance offers, outermost first
    QString sourcePath;              ///< the file that it came from
    bool enabled = true;             ///< a disabled one stays loaded but is not offered
    NodeType nodeType = NodeType::Unknown; ///< inferred
    QString primaryFunctionName;           ///< inferred
    QStringList parameterTypes;            ///< of the function's arguments; inferred
    QStringList helperFunctions;           ///< the other functions of the code; inferred
    bool isOperator = false;               ///< takes children; inferred
    int operationType = -1; ///< 0 union to 9 xor for a CSG operator, else -1; inferred
    std::optional<GizmoGroupSpec> gizmoGroup;
    QByteArray spirv; ///< of the test compile
    bool spirvValid = false;

    /// Keys that are not known are passed over, missing ones leave their defaults. Never null.
    [[nodiscard]] static QSharedPointer<Definition> fromVariantMap(const QVariantMap &map);
    /// As scene files and the user's library hold it.
    [[nodiscard]] QVariantMap toVariantMap() const;

    /// True when it came with the program.
    [[nodiscard]] bool isFromResources() const { return sourcePath.startsWith(u':'); }
    /// Has id, name and code, and every parameter has a name of its own.
    [[nodiscard]] bool isValid() const;

    /// Name to default value.
    [[nodiscard]] QVariantMap getDefaultParameters() const;
    /// The parameter of that name; null when there is none.
    [[nodiscard]] const ParameterDef *parameter(QStringView parameterName) const;
    /// The first parameter that takes children; null when there is none.
    [[nodiscard]] const ParameterDef *childParameter() const;
    [[nodiscard]] int minChildren() const;
    [[nodiscard]] int maxChildren() const; ///< -1: no limit

    /// SHA-256 over what changes the field: code, blend, and the parameters' names, types and
    /// defaults. Display data don't count. Kept until one of these changes; one thread at a time.
    [[nodiscard]] QByteArray contentHash() const;

private:
    struct HashCache
    {
        QString shaderCode;
        QString blend;
        QList<ParameterDef> parameters;
        QByteArray hash;
    };
    mutable HashCache m_hashCache;
};

using DefinitionPtr = QSharedPointer<Definition>;

} // namespace corvane::registry
