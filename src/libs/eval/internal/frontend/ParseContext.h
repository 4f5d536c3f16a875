#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/frontend/DiagnosticList.h>
#include <eval/internal/frontend/TokenStream.h>

#include <QHash>
#include <QSet>
#include <QString>

namespace eval::internal {

/// What the parts of the parser share: the tokens, the errors, the struct names seen so far, and
/// the making of nodes under limits of depth and number.
///
/// A source that breaks a limit gets one diagnostic, after which every token reads as End and
/// nothing more is reported: the productions then unwind by themselves.
class ParseContext
{
public:
    explicit ParseContext(QStringView source)
        : tokens(source)
    {}

    TokenStream tokens;
    QSet<QString> structNames;

    void error(const Token &token, const QString &message);
    /// False once a further message would be dropped.
    bool keepsErrors() const { return !m_refused && m_diagnostics.hasRoom(); }
    /// Consumes a token of this kind, or records `message` at the token that stands there and
    /// leaves it.
    bool expect(TokenKind kind, QLatin1StringView message);
    /// Consumes a token of this kind if it stands there.
    bool accept(TokenKind kind);
    /// A type keyword or the name of a struct.
    bool startsType(const Token &token) const;
    /// Writes the type that a token names.
    void readType(const Token &token, Type &type, QString &structName);

    /// One string for all occurrences of a word: names make up most of a tree.
    QString name(QStringView text);
    AstPtr make(AstKind kind, const Token &token);
    /// Ends the making of a node: its height follows from its children. Null when it is too high.
    AstPtr close(AstPtr node);

    /// Bounds the recursion of the productions: one object in each that nests.
    class Level
    {
    public:
        explicit Level(ParseContext &context);
        ~Level() { --m_context.m_level; }
        Q_DISABLE_COPY_MOVE(Level)
        explicit operator bool() const { return m_entered; }

    private:
        ParseContext &m_context;
        bool m_entered;
    };

    /// All diagnostics, those of the tokenizer first.
    QList<Diagnostic> finish();

private:
    void refuse(const SourceSpan &span, const QString &message);

    DiagnosticList m_diagnostics;
    QHash<QStringView, QString> m_names;
    qsizetype m_nodeCount = 0;
    int m_level = 0;
    bool m_refused = false;
};

} // namespace eval::internal
