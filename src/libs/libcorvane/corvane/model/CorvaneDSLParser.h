#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/yaml/YamlParser.h>

#include <QList>
#include <QSharedPointer>
#include <QStringList>
#include <QVariantMap>

#include <functional>

namespace corvane::model {

/// What came of a scene file: a document, or errors; warnings go with both.
struct ParseResult
{
    QSharedPointer<Corvane> scene; ///< null when there are errors
    QStringList warnings;
    QList<yaml::YamlParser::ParseError> errors;
    QVariantMap rawMap; ///< the whole file

    bool ok() const { return scene && errors.isEmpty(); }
};

/// Reads scene files of both generations into documents.
class CorvaneDSLParser
{
public:
    /// The longest text that is read. A longer file, an endless device among them, is an error.
    static constexpr qint64 maxFileSize = qint64(1) << 30;

    /// Compiles the text of a version 2 file into a new document.
    using LogicalSceneLoader = std::function<ParseResult(const QString &text, QObject *parent)>;
    /// Registered once, at start, by the program that has the logical scene. Without it a version 2
    /// file is an error that says so.
    static void setLogicalSceneLoader(const LogicalSceneLoader &loader);

    /// Does not touch the registry: definitions of the file are in the document, not in force.
    static ParseResult parseFile(const QString &path, QObject *parent = nullptr);
    static ParseResult parseText(const QString &text, QObject *parent = nullptr);
};

} // namespace corvane::model
