#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
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
    /// The whole file, and the text that it was read from. Of version 1 they are let go as the
    /// scene is made, which has all that they hold: together they take several times its memory.
    QVariantMap rawMap;
    QString text;
    QList<yaml::YamlParser::Remark> remarks;   ///< on its layout
    QSharedPointer<LogicalScene> logicalScene; ///< of a version 2 file: what `scene` is compiled of

    bool ok() const { return scene && errors.isEmpty(); }
    void logWarnings() const; ///< "Parse warning: ...", a line each
    void logErrors() const;   ///< "Parse error: ...", a line each
};

/// What came of a scene file that is to be edited: the user's tree.
struct LogicalParseResult
{
    /// Null when there are errors, and for a version 1 file that holds other items than those of
    /// the field: such a file is loaded as a document.
    QSharedPointer<LogicalScene> logicalScene;
    QVariantMap documentBlock; ///< for DocumentBlock::apply
    QStringList warnings;
    QList<yaml::YamlParser::ParseError> errors;
};

/// Reads scene files of both generations, into documents and into logical scenes.
class CorvaneDSLParser
{
public:
    /// Sees a file's text, map and remarks while they are there; not called of a file with errors.
    using Look = std::function<void(const ParseResult &file)>;

    /// The longest text that is read. A longer file, an endless device among them, is an error.
    static constexpr qint64 maxFileSize = qint64(1) << 30;

    /// Does not register definitions of the file: they are in the document, not in force. Of a
    /// version 2 file the document has the geometry and the definitions; its name, variables,
    /// settings and materials are for those who edit it, through parseLogical() and
    /// DocumentBlock::apply().
    /// The file may be a pipe or a device, as a user names them.
    /// @param look  called when the file is read and no scene is made of it yet
    static ParseResult parseFile(const QString &path, QObject *parent = nullptr,
                                 const Look &look = {});
    /// The same for a path that a plan or another file names: a regular file, or an error.
    static ParseResult parseRegularFile(const QString &path, QObject *parent = nullptr);
    static ParseResult parseText(const QString &text, QObject *parent = nullptr,
                                 const Look &look = {});

    /// Reads the text of a version 2 file, or migrates that of version 1.
    static LogicalParseResult parseLogical(const QString &text);
    static LogicalParseResult parseLogical(const QVariantMap &file);

private:
    static ParseResult parseBytes(QByteArray bytes, QObject *parent, const Look &look);
    static void readText(const QString &text, ParseResult &result);
    static void readScene(ParseResult &result, QObject *parent, const Look &look);
    static void compileLogical(ParseResult &result, QObject *parent);
};

} // namespace corvane::model
