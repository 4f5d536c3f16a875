#pragma once

#include <QList>
#include <QString>

#include <utility>

namespace eval {

/// A place in a source text: line and column from 1, length in characters.
struct SourceSpan
{
    int line = 1;
    int column = 1;
    int length = 0;

    bool operator==(const SourceSpan &) const = default;
};

/// What a diagnostic is about. Anything below 4 makes a compile fail.
enum class DiagnosticCategory {
    Syntax = 0,
    Type = 1,
    UnresolvedName = 2,
    CircularDependency = 3,
    Runtime = 5,
    BackendUnavailable = 6,
    ShaderCompile = 8,
    PipelineBuild = 9,
    Internal = 10,
};

struct Diagnostic
{
    DiagnosticCategory category = DiagnosticCategory::Internal;
    QString message;
    SourceSpan span;
    QString secondary; ///< further text; empty unless a stage has something to add

    bool operator==(const Diagnostic &) const = default;
};

/// The outcome of a compile or an evaluation: all diagnostics that were found, and on success a
/// value.
template<class T>
class [[nodiscard]] Result
{
public:
    Result() = default;
    explicit Result(T value, QList<Diagnostic> notes = {})
        : m_value(std::move(value))
        , m_diagnostics(std::move(notes))
        , m_ok(true)
    {}
    static Result failure(QList<Diagnostic> diagnostics)
    {
        Result result;
        result.m_diagnostics = std::move(diagnostics);
        return result;
    }

    explicit operator bool() const { return m_ok; }
    const T &value() const { return m_value; }
    T &value() { return m_value; }
    const QList<Diagnostic> &diagnostics() const { return m_diagnostics; }
    Diagnostic firstError() const { return m_diagnostics.value(0); }

private:
    T m_value{};
    QList<Diagnostic> m_diagnostics;
    bool m_ok = false;
};

template<>
class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    static Result failure(QList<Diagnostic> diagnostics)
    {
        Result result;
        result.m_diagnostics = std::move(diagnostics);
        return result;
    }

    explicit operator bool() const { return m_diagnostics.isEmpty(); }
    const QList<Diagnostic> &diagnostics() const { return m_diagnostics; }
    Diagnostic firstError() const { return m_diagnostics.value(0); }

private:
    QList<Diagnostic> m_diagnostics;
};

} // namespace eval
