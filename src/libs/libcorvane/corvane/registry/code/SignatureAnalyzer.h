#pragma once

#include <corvane/registry/SignatureAnalysisResult.h>

#include <QString>
#include <QStringList>

#include <optional>

namespace corvane::shader {

/// Reads function signatures off GLSL text. Stateless, linear in the text; any thread.
class SignatureAnalyzer
{
public:
    /// The names of all functions but `main`, in order, calls after a type word included: what
    /// matches \b(float|vec[234]|mat[234]|void|int|uint|bool)\s+([a-zA-Z_][a-zA-Z0-9_]*)\s*\(
    [[nodiscard]] static QStringList extractFunctionNames(const QString &code);

    /// The text less everything from "//" to the end of each line.
    [[nodiscard]] static QString withoutComments(QStringView code);

    /// Return type and argument text of the first "type name(...)"; nothing when there is none.
    struct Signature
    {
        QString returnType;
        QString arguments;
    };
    [[nodiscard]] static std::optional<Signature> findSignature(QStringView code,
                                                                QStringView functionName);

    /// Finds the primary function and classifies the definition by its signature.
    [[nodiscard]] static registry::SignatureAnalysisResult analyze(const QString &code);
};

} // namespace corvane::shader
