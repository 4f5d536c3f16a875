#pragma once

#include <corvane/registry/code/ParameterAnnotation.h>

#include <QMap>

namespace corvane::shader {

/// Reads the comments of one source for ParameterExtractor::parseAnnotations, in two passes over
/// its lines: first those above members, then those behind members or on their own.
class AnnotationReader
{
public:
    [[nodiscard]] ParameterAnnotations read(const QString &source);

    static void readLine(const QString &text, ParameterAnnotation &annotation);

private:
    void readLinesAbove(const QString &line);
    void readInline(const QString &line);
    void mergeAbove(const ParameterAnnotation &annotation);
    void fillAbsent(const ParameterAnnotation &annotation);

    QMap<QString, QString> m_pending; ///< the "@key value" lines since the last member
    ParameterAnnotations m_annotations;
};

} // namespace corvane::shader
