#pragma once

#include <eval/Diagnostic.h>
#include <eval/Type.h>

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

/// One case of a conformance file: a source in the field language with remarks on what has to come
/// out.
///
/// A file holds several cases, each after a line "// case: name". Lines count from the one after
/// that. Remarks stand in line comments, anywhere in the case:
///
///     // input: vec3 p = 1 2 3          an input slot and its value; numbers, "true", "inf", "nan"
///     // input: vec2[] a = 1 2 3 4      an array input
///     // expect: 0.5                    the components of the result, compared to 1e-6 of their
///     size
///     // type: vec2                     the type of the result
///     // error 2:7 message              one diagnostic of the compile, on the line that it is
///     about
///     // fault 2:7 message              one diagnostic of the evaluation
///
///     // lacks: native               back-ends that cannot express the case and say so
///
/// "// expect[gpu]: 2" states a deliberate difference of one back-end.
struct ConformanceCase
{
    struct Input
    {
        QString name;
        eval::Type type = eval::Type::Float; ///< of the elements for an array
        bool isArray = false;
        QList<double> components;
    };

    QString name; ///< "file: case"
    QString source;
    QList<Input> inputs;
    QString type;                           ///< empty: not asked
    QHash<QString, QList<double>> expected; ///< components by back-end, "" for all others
    QStringList lacking;                    ///< back-ends without a form of the case
    QStringList errors;                     ///< "line:column message"
    QStringList faults;
    QStringList mistakes; ///< of the file itself: remarks that cannot be read

    QList<double> expectedOn(const QString &backend) const;
};

/// All cases of a file, with the mistakes of the file in the cases that have them.
QList<ConformanceCase> readConformanceFile(const QString &path);
